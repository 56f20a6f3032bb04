// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/folding/language_words.h"

#include <algorithm>

namespace {

// A line for each language of ISO 639-1: its code there, that of ISO 639-2 for terminology, that for bibliographies where it is another
// one, its English names of one word, as registered, and, folded, what it calls itself in one word, by the translations of iso-codes.
constexpr std::string_view kLanguages[] = {
    "aa aar afar",
    "ab abk abkhazian",
    "ae ave avestan",
    "af afr afrikaans",
    "ak aka akan",
    "am amh amharic አማርኛ",
    "an arg aragonese",
    "ar ara arabic العربية",
    "as asm assamese অসময",
    "av ava avaric",
    "ay aym aymara",
    "az aze azerbaijani",
    "ba bak bashkir",
    "be bel belarusian беларуская",
    "bg bul bulgarian български",
    "bh bih",
    "bi bis bislama",
    "bm bam bambara",
    "bn ben bengali বল",
    "bo bod tib tibetan",
    "br bre breton brezhoneg",
    "bs bos bosnian",
    "ca cat catalan valencian catala valencia",
    "ce che chechen",
    "ch cha chamorro",
    "co cos corsican",
    "cr cre cree",
    "cs ces cze czech cestina",
    "cu chu",
    "cv chv chuvash",
    "cy cym wel welsh cymraeg",
    "da dan danish dansk",
    "de deu ger german deutsch",
    "dv div divehi dhivehi maldivian",
    "dz dzo dzongkha",
    "ee ewe",
    "el ell gre greek ελληνικα",
    "en eng english",
    "eo epo esperanto",
    "es spa spanish castilian espanol castellano",
    "et est estonian eesti",
    "eu eus baq basque euskara",
    "fa fas per persian فارسی",
    "ff ful fulah",
    "fi fin finnish suomi",
    "fj fij fijian",
    "fo fao faroese",
    "fr fra fre french francais",
    "fy fry",
    "ga gle irish gaeilge",
    "gd gla gaelic",
    "gl glg galician galego",
    "gn grn guarani",
    "gu guj gujarati ગજરત",
    "gv glv manx",
    "ha hau hausa",
    "he heb hebrew עברית",
    "hi hin hindi हद",
    "ho hmo",
    "hr hrv croatian hrvatski",
    "ht hat haitian",
    "hu hun hungarian magyar",
    "hy hye arm armenian",
    "hz her herero",
    "ia ina interlingua",
    "id ind indonesian",
    "ie ile interlingue occidental",
    "ig ibo igbo",
    "ii iii nuosu",
    "ik ipk inupiaq",
    "io ido",
    "is isl ice icelandic islenska",
    "it ita italian italiano",
    "iu iku inuktitut",
    "ja jpn japanese 日本語",
    "jv jav javanese",
    "ka kat geo georgian ქართული",
    "kg kon kongo",
    "ki kik kikuyu gikuyu",
    "kj kua kuanyama kwanyama",
    "kk kaz kazakh",
    "kl kal kalaallisut greenlandic",
    "km khm",
    "kn kan kannada ಕನನಡ",
    "ko kor korean 한국어",
    "kr kau kanuri",
    "ks kas kashmiri",
    "ku kur kurdish",
    "kv kom komi",
    "kw cor cornish",
    "ky kir kirghiz kyrgyz",
    "la lat latin",
    "lb ltz luxembourgish letzeburgesch",
    "lg lug ganda",
    "li lim limburgan limburger limburgish",
    "ln lin lingala",
    "lo lao",
    "lt lit lithuanian lietuviu",
    "lu lub luba-katanga",
    "lv lav latvian latviesu",
    "mg mlg malagasy",
    "mh mah marshallese",
    "mi mri mao maori",
    "mk mkd mac macedonian македонски",
    "ml mal malayalam മലയള",
    "mn mon mongolian монгол",
    "mr mar marathi मरठ",
    "ms msa may malay",
    "mt mlt maltese malti",
    "my mya bur burmese",
    "na nau nauru",
    "nb nob bokmal",
    "nd nde ndebele",
    "ne nep nepali",
    "ng ndo ndonga",
    "nl nld dut dutch flemish nederlands",
    "nn nno nynorsk",
    "no nor norwegian norsk",
    "nr nbl ndebele",
    "nv nav navajo navaho",
    "ny nya chichewa chewa nyanja",
    "oc oci occitan provencal",
    "oj oji ojibwa",
    "om orm oromo",
    "or ori oriya ଓଡଆ",
    "os oss ossetian ossetic",
    "pa pan panjabi punjabi ਪਜਬ پنجابی",
    "pi pli pali",
    "pl pol polish polski",
    "ps pus pushto pashto",
    "pt por portuguese portugues",
    "qu que quechua",
    "rm roh romansh",
    "rn run rundi",
    "ro ron rum romanian moldavian moldovan romana молдовеняскэ",
    "ru rus russian русскии",
    "rw kin kinyarwanda ikinyarwanda",
    "sa san sanskrit",
    "sc srd sardinian sardu",
    "sd snd sindhi",
    "se sme",
    "sg sag sango",
    "si sin sinhala sinhalese",
    "sk slk slo slovak slovencina slovensky",
    "sl slv slovenian slovenscina",
    "sm smo samoan",
    "sn sna shona",
    "so som somali",
    "sq sqi alb albanian shqip",
    "sr srp serbian српски srpski",
    "ss ssw swati",
    "st sot sotho",
    "su sun sundanese",
    "sv swe swedish svenska",
    "sw swa swahili",
    "ta tam tamil தமழ",
    "te tel telugu తలగ",
    "tg tgk tajik",
    "th tha thai ไทย",
    "ti tir tigrinya ትግርኛ",
    "tk tuk turkmen",
    "tl tgl tagalog",
    "tn tsn tswana",
    "to ton tonga",
    "tr tur turkish turkce",
    "ts tso tsonga",
    "tt tat tatar татарча tatarca",
    "tw twi",
    "ty tah tahitian",
    "ug uig uighur uyghur",
    "uk ukr ukrainian украінська",
    "ur urd urdu",
    "uz uzb uzbek",
    "ve ven venda",
    "vi vie vietnamese",
    "vo vol volapuk",
    "wa wln walloon walon",
    "wo wol wolof",
    "xh xho xhosa isixhosa",
    "yi yid yiddish",
    "yo yor yoruba",
    "za zha zhuang chuang",
    "zh zho chi chinese 汉语 中文",
    "zu zul zulu isi-zulu",
};

std::vector<std::string> WordsOf(std::string_view line) {
    std::vector<std::string> words;
    for (size_t at = 0; at < line.size(); at += words.back().size() + 1)
        words.emplace_back(line.substr(at, line.find(' ', at) - at));
    return words;
}

constexpr size_t kCodeLength = 3; // at most

} // namespace

std::vector<std::string> LanguageWords(std::string_view folded) {
    for (const std::string_view line : kLanguages) {
        std::vector<std::string> words = WordsOf(line);
        if (std::ranges::find(words, folded) != words.end())
            return words;
    }
    return {std::string(folded)};
}

std::string LanguageCode(std::string_view folded) {
    const std::vector<std::string> words = LanguageWords(folded);
    return words.size() > 1 ? words[1] : "";
}

std::vector<std::string> LanguageNames() {
    std::vector<std::string> names;
    for (const std::string_view line : kLanguages) {
        for (std::string &word : WordsOf(line))
            if (word.size() > kCodeLength && std::ranges::all_of(word, [](char byte) {
                    return (byte >= 'a' && byte <= 'z') || byte == '-';
                }))
                names.push_back(std::move(word));
    }
    return names;
}
