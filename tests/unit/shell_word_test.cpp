// SPDX-License-Identifier: GPL-2.0-or-later
//
// Words that a shell takes for the text that they were made of, whatever is in it.
#include "tools/veluctl/shell_word.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

#include "platform/handle.h"
#include "tools/shared/safe_text.h"

namespace {

struct PipeClose {
    void operator()(FILE *pipe) const { pclose(pipe); }
};

std::string TakenByShell(const std::string &word) {
    const std::string command = "exec /bin/bash -c \"$(cat <<'END'\nprintf %s " + word + "\nEND\n)\"";
    const std::unique_ptr<FILE, PipeClose> pipe(popen(command.c_str(), "re"));
    std::string text;
    std::array<char, 256> part;
    for (size_t got = fread(part.data(), 1, part.size(), pipe.get()); got > 0;
         got = fread(part.data(), 1, part.size(), pipe.get()))
        text.append(part.data(), got);
    return text;
}

} // namespace

TEST(ShellWord, ATextThatNeedsNothingStaysAsItIs) {
    EXPECT_EQ(ShellWord("/volume1/music/a-b_c.mp3"), "/volume1/music/a-b_c.mp3");
    EXPECT_EQ(ShellWord("a b"), "'a b'");
    EXPECT_EQ(ShellWord(""), "''");
}

TEST(ShellWord, AShellTakesItForTheText) {
    for (const std::string &text :
         {std::string("it's"), std::string("$(reboot) `x` \"q\" \\ !x ~ * ? [a] {b,c} #d &"),
          std::string("\x1b[31mred"), std::string("\xff\xfe 1 A"), std::string("tab\there"),
          std::string("caf\xC3\xA9"), std::string("\xE2\x80\xAE gpj"), std::string("'"),
          std::string("\\'")}) {
        const std::string word = ShellWord(text);
        EXPECT_EQ(TakenByShell(word), text) << word;
        for (const char byte : word)
            EXPECT_FALSE(static_cast<unsigned char>(byte) < ' ') << word;
    }
}
