// The words and categories that the command knows. It sends others all the same.
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

// Words that name tools: what the tool prints is the answer.
inline constexpr std::array<std::string_view, 4> tool_words = {"zmsu", "zmcplogs", "ktlogcfg", "versioninfo"};

// Words whose arguments are CATEGORY:VALUE[,VALUE...].
inline constexpr std::array<std::string_view, 3> logging_words = {"ENABLELOGGING", "DISABLELOGGING", "RESETLOGGING"};

inline constexpr std::array<std::string_view, 7> other_words = {"RUNZMSU", "RUNZMCPLOGS", "CALCLOGSIZE", "GETDISKSPACE",
                                                                "CLEANUP", "FETCHFILE",   "ZMLA"};

inline constexpr std::string_view space_word = "GETDISKSPACE";
inline constexpr std::string_view cleanup_word = "CLEANUP";

// Words whose arguments the agent itself takes. No tool gets any of them, and without one there is nothing to do.
inline constexpr std::array<std::string_view, 5> counted_words = {"ENABLELOGGING", "DISABLELOGGING", "RESETLOGGING",
                                                                  space_word, cleanup_word};

inline constexpr std::array<std::string_view, 14> known_categories = {
    "ZMKTUL",   "QPKTUL", "SEARCHKTUL", "ZMLOGDIR", "MMLOGDIR", "QRCONF", "RK",
    "RKPLUGIN", "KOB",    "CORVID",     "CLOUD",    "JAVAGUI",  "HOLKAZ", "VMCONF"};

template <typename Words>
constexpr bool is_one_of(std::string_view word, const Words& words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}
