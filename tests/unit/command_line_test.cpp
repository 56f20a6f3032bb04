// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/shared/command_line.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "tools/shared/help_text.h"

namespace {

struct Given {
    bool flag = false;
    bool other = false;
    uint32_t number = 0;
    std::string text;
    std::string place;
    std::vector<std::string> words;
    std::vector<std::string> rest;
    double seconds = 1;
};

CommandLine LineOf(Given *given) {
    return {{kHelpOption,
             {'f', "flag", nullptr, "A flag", &given->flag, {}, nullptr, "other"},
             {'\0', "other", nullptr, "Another", &given->other, {}, nullptr, "flag"},
             {'n', "number", "N", "A number", &given->number},
             {'\0', "text", "TEXT", "A text", &given->text, {}, "number"},
             {'w', "word", "WORD", "A word", &given->words, {"one", "two"}},
             {'\0', "seconds", "S", "Seconds", SecondsTarget{&given->seconds, 0.5, 10}},
             {'x', nullptr, "X", "Only a letter", &given->place}},
            {{"place", "PLACE", "A place", &given->place, true}, {"rest", "REST", "The rest", &given->rest}}};
}

struct Read {
    Given given;
    CommandLineResult result;
    std::string error;

    explicit Read(std::vector<const char *> words) {
        words.insert(words.begin(), "program");
        words.push_back(nullptr);
        result = CommandLineRead(LineOf(&given), static_cast<int>(words.size()) - 1,
                                 const_cast<char **>(words.data()), &error);
    }
};

std::string ErrorOf(const std::vector<const char *> &words) {
    const Read read(words);
    EXPECT_EQ(read.result, CommandLineResult::wrong);
    return read.error;
}

} // namespace

TEST(CommandLine, OptionsAndArgumentsMayBeMixed) {
    const Read read({"a", "-f", "b", "--number", "5", "--word=one", "c", "-wtwo", "--seconds", "0.5"});
    ASSERT_EQ(read.result, CommandLineResult::done) << read.error;
    EXPECT_TRUE(read.given.flag);
    EXPECT_FALSE(read.given.other);
    EXPECT_EQ(read.given.number, 5U);
    EXPECT_EQ(read.given.place, "a");
    EXPECT_EQ(read.given.rest, (std::vector<std::string>{"b", "c"}));
    EXPECT_EQ(read.given.words, (std::vector<std::string>{"one", "two"}));
    EXPECT_EQ(read.given.seconds, 0.5);
}

TEST(CommandLine, TheEnvironmentChangesNothing) {
    setenv("POSIXLY_CORRECT", "1", 1);
    const Read read({"a", "-f"});
    unsetenv("POSIXLY_CORRECT");
    EXPECT_EQ(read.result, CommandLineResult::done);
    EXPECT_TRUE(read.given.flag);
    EXPECT_TRUE(read.given.rest.empty());
}

TEST(CommandLine, BehindTwoDashesAllAreArguments) {
    const Read read({"-fn5", "--", "--number", "-x", "--"});
    ASSERT_EQ(read.result, CommandLineResult::done) << read.error;
    EXPECT_EQ(read.given.place, "--number");
    EXPECT_EQ(read.given.rest, (std::vector<std::string>{"-x", "--"}));
    EXPECT_EQ(read.given.number, 5U);
    EXPECT_EQ(Read({"-", "-"}).given.place, "-");
}

TEST(CommandLine, UnknownAndShortenedNamesAreRefused) {
    EXPECT_EQ(ErrorOf({"--nothing"}), "The following argument was not expected: --nothing");
    EXPECT_EQ(ErrorOf({"--fla"}), "The following argument was not expected: --fla; did you mean --flag?");
    EXPECT_EQ(ErrorOf({"--numb", "5"}),
              "The following argument was not expected: --numb; did you mean --number?");
    EXPECT_EQ(ErrorOf({"--numb=5"}),
              "The following argument was not expected: --numb=5; did you mean --number?");
    EXPECT_EQ(ErrorOf({"-fq"}), "The following argument was not expected: -q");
    EXPECT_EQ(ErrorOf({"a", "--flag=x"}), "--flag takes no value");
}

TEST(CommandLine, ValuesAreChecked) {
    EXPECT_EQ(ErrorOf({"a", "--number"}), "--number: 1 required N missing");
    EXPECT_EQ(ErrorOf({"a", "-n"}), "--number: 1 required N missing");
    EXPECT_EQ(ErrorOf({"a", "--number="}), "--number: 1 required N missing");
    EXPECT_EQ(ErrorOf({"a", "-x"}), "-x: 1 required X missing");
    EXPECT_EQ(ErrorOf({"a", "--word"}), "--word: 1 required WORD:{one,two} missing");
    for (const char *value : {"x", "-1", "5x", " 5", "4294967296"})
        EXPECT_EQ(ErrorOf({"a", "--number", value}),
                  std::string("--number: \"") + value + "\" is no whole number from 0 to 4294967295");
    EXPECT_EQ(Read({"a", "-n", "4294967295"}).given.number, 4294967295U);
    EXPECT_EQ(ErrorOf({"a", "-w", "three"}), "--word: three not in {one,two}");
    for (const char *value : {"0.4", "11", "x", "1x", "nan"})
        EXPECT_EQ(ErrorOf({"a", "--seconds", value}),
                  std::string("--seconds: \"") + value + "\" is no number of seconds from 0.5 to 10");
    EXPECT_EQ(ErrorOf({"a", "-n1", "-n2"}), "--number: At Most 1 required but received 2");
}

TEST(CommandLine, WhatBelongsTogetherIsChecked) {
    EXPECT_EQ(ErrorOf({}), "place is required");
    EXPECT_EQ(ErrorOf({"a", "--text", "t"}), "--text requires --number");
    EXPECT_EQ(ErrorOf({"a", "--other", "--flag"}), "--flag excludes --other");
    EXPECT_EQ(Read({"a", "--text", "t", "-n1", "-f", "-f"}).result, CommandLineResult::done);
}

TEST(CommandLine, ArgumentsBeyondTheLastAreRefused) {
    std::string text;
    std::string error;
    const CommandLine one = {{kHelpOption}, {{"text", "TEXT", "A text", &text}}};
    const char *two[] = {"program", "a", "b", nullptr};
    EXPECT_EQ(CommandLineRead(one, 3, const_cast<char **>(two), &error), CommandLineResult::wrong);
    EXPECT_EQ(error, "The following argument was not expected: b");
    error.clear();
    const CommandLine none = {{kHelpOption}, {}};
    EXPECT_EQ(CommandLineRead(none, 2, const_cast<char **>(two), &error), CommandLineResult::wrong);
    EXPECT_EQ(error, "The following argument was not expected: a");
}

TEST(CommandLine, HelpEndsTheReading) {
    EXPECT_EQ(Read({"-h"}).result, CommandLineResult::help);
    EXPECT_EQ(Read({"--help", "--nothing"}).result, CommandLineResult::help);
    EXPECT_EQ(Read({"--", "--help"}).result, CommandLineResult::done);
}

TEST(CommandLine, ReadingEndsAtACommand) {
    Given given;
    std::string error;
    int command = 0;
    const char *words[] = {"program", "-f", "status", "--other", nullptr};
    const CommandLine line = LineOf(&given);
    EXPECT_EQ(CommandLineReadToCommand(line, 4, const_cast<char **>(words), &command, &error),
              CommandLineResult::done);
    EXPECT_EQ(command, 2);
    EXPECT_TRUE(given.flag);
    EXPECT_FALSE(given.other);
    EXPECT_EQ(CommandLineReadToCommand(line, 2, const_cast<char **>(words), &command, &error),
              CommandLineResult::done);
    EXPECT_EQ(command, 2);
}

TEST(HelpText, TellsAllOfTheTable) {
    Given given;
    EXPECT_EQ(
        HelpText({"do something", "program", ""}, LineOf(&given), {{"More", {{"a", "One"}}}}, "The end.\n"),
        "do something\n"
        "Usage: program [OPTIONS] place [rest...]\n"
        "\n"
        "Positionals:\n"
        "  place PLACE REQUIRED        A place\n"
        "  rest REST ...               The rest\n"
        "\n"
        "Options:\n"
        "  -h,--help                   Print this help message and exit\n"
        "  -f,--flag Excludes: --other A flag\n"
        "  --other Excludes: --flag    Another\n"
        "  -n,--number N               A number\n"
        "  --text TEXT Needs: --number A text\n"
        "  -w,--word WORD:{one,two} ...\n"
        "                              A word\n"
        "  --seconds S                 Seconds\n"
        "  -x X                        Only a letter\n"
        "\n"
        "More:\n"
        "  a                           One\n"
        "\n"
        "The end.\n");
}

TEST(CommandLine, WordsMayBeginWithADash) {
    struct Case {
        std::vector<const char *> words;
        std::vector<std::string> rest;
        uint32_t number;
        bool flag;
    };
    const auto read = [](std::vector<const char *> words, Given *given, std::string *error) {
        CommandLine line = LineOf(given);
        line.arguments = {{"rest", "REST", "The rest", &given->rest}};
        line.arguments.back().dashes = true;
        words.insert(words.begin(), "program");
        return CommandLineRead(line, static_cast<int>(words.size()), const_cast<char **>(words.data()),
                               error);
    };
    for (const Case &one : {Case{{"a", "-live", "b", "-n", "7", "-c"}, {"a", "-live", "b", "-c"}, 7, false},
                            Case{{"-nina", "-n7", "-f", "-fine"}, {"-nina", "-fine"}, 7, true},
                            Case{{"-", "--", "-f", "-n", "--flag"}, {"-", "-f", "-n", "--flag"}, 0, false},
                            Case{{"--number", "7", "-5", "--flag"}, {"-5"}, 7, true},
                            Case{{"--number=7", "x"}, {"x"}, 7, false}}) {
        Given given;
        std::string error;
        EXPECT_EQ(read(one.words, &given, &error), CommandLineResult::done) << error;
        EXPECT_EQ(given.rest, one.rest);
        EXPECT_EQ(given.number, one.number);
        EXPECT_EQ(given.flag, one.flag);
    }
    for (const std::vector<const char *> &words :
         {std::vector<const char *>{"--typo", "a"}, {"a", "-n"}, {"a", "-n", "x"}}) {
        Given given;
        std::string error;
        EXPECT_EQ(read(words, &given, &error), CommandLineResult::wrong) << words.front();
    }
}
