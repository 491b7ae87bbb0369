// What the command knows of the requests that agents carry out. Whatever it does not know it sends all the same.
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

inline constexpr std::array<std::string_view, 14> known_categories = {
    "ZMKTUL",   "QPKTUL", "SEARCHKTUL", "ZMLOGDIR", "MMLOGDIR", "QRCONF", "RK",
    "RKPLUGIN", "KOB",    "CORVID",     "CLOUD",    "JAVAGUI",  "HOLKAZ", "VMCONF"};

template <typename Words>
constexpr bool is_one_of(std::string_view word, const Words& words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}
