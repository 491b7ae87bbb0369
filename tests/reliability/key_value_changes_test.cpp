// Changes of a key-value file, whose rules take no lock: what is certain, and how much is lost when many make them.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "logging_config/text_lines.h"
#include "tests/reliability/load_share.h"
#include "tests/reliability/writers.h"
#include "tests/support/product_test.h"
#include "tests/support/test_files.h"

namespace {

const std::string plugins = "/usr/kumel/lib/stg-plugins/";
const std::string changed_file = plugins + "wqf.conf";
const std::string level_key = "WQF:LOGLEVEL=";
const std::string note_key = "NOTE ";

// Lines around the setting that nobody changes.
std::string unchanged_lines(const std::string& name) {
    std::string text;
    for (int i = 0; i < 20; ++i) {
        text += name + std::to_string(i) + " = " + std::string(static_cast<std::size_t>(i), 'x') + "\n";
    }
    return text;
}

const std::string text_before = unchanged_lines("FIRST") + level_key + "1\n" + unchanged_lines("LAST");

Request set_level(const std::string& level) {
    return {"ENABLELOGGING", "CORVID:zmwqf=" + level};
}

bool is_done(const AgentRun& run) {
    return run.status() == 0 && run.output().find(" STATUS=0 ") != std::string::npos;
}

bool is_level(std::string_view line) {
    return line.starts_with(level_key) && line.size() > level_key.size() &&
           line.find_first_not_of("0123456789", level_key.size()) == std::string_view::npos;
}

// Whether a text is the whole file: every line that nobody changes and one level, in their order, and behind them
// nothing but whole notes.
bool is_whole(const std::string& text) {
    if (!text.ends_with('\n')) {
        return false;
    }
    const std::vector<std::string_view> expected = split_lines(text_before);
    const std::vector<std::string_view> lines = split_lines(text);
    if (lines.size() < expected.size()) {
        return false;
    }
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const bool is_right = i >= expected.size()       ? lines[i].starts_with(note_key) && lines[i].ends_with(".")
                              : is_level(expected[i]) ? is_level(lines[i])
                                                         : lines[i] == expected[i];
        if (!is_right) {
            return false;
        }
    }
    return true;
}

// As another program does that adds a line to a log or a configuration: one write at the end of the file.
void append_note(const std::string& note) {
    const Descriptor file(open(changed_file.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    if (!file.valid() || !write_all(file.get(), note_key + note + ".\n")) {
        throw std::runtime_error("a note could not be appended");
    }
}

// What a reader saw while writers were at work.
struct Reading {
    int reads = 0;
    int broken = 0;
};

Reading read_while_running(const Writers& writers) {
    Reading reading;
    while (writers.are_running()) {
        ++reading.reads;
        reading.broken += is_whole(read_file(changed_file)) ? 0 : 1;
    }
    return reading;
}

class KeyValueFile : public ProductTest {
  protected:
    KeyValueFile() { write_file(changed_file, text_before); }

    // Sets a level again and again. Returns how many times the agent said that it had not.
    [[nodiscard]] int set_levels(int writer) const {
        int refused = 0;
        for (int i = 0; i < changes_; ++i) {
            refused += is_done(ask_own_agent(set_level(std::to_string(writer * changes_ + i)))) ? 0 : 1;
        }
        return refused;
    }

    const int changes_ = share(25, 100);
};

TEST_F(KeyValueFile, IsWholeAtAnyTimeWhileOneAgentAfterTheOtherChangesIt) {
    Writers writer(1, [&](int number) { return set_levels(number); });
    const Reading reading = read_while_running(writer);
    EXPECT_EQ(writer.finish(), 0);
    EXPECT_GT(reading.reads, changes_);
    EXPECT_EQ(reading.broken, 0);
    EXPECT_EQ(read_file(changed_file),
              unchanged_lines("FIRST") + level_key + std::to_string(changes_ - 1) + "\n" + unchanged_lines("LAST"));
}

// Half of the writers are agents, half are programs that append lines.
TEST_F(KeyValueFile, PrintsHowMuchManyAgentsAndOtherProgramsLose) {
    for (const int count : {2, 8, 64}) {
        write_file(changed_file, text_before);
        Writers writers(count, [&](int writer) {
            if (writer % 2 == 0) {
                return set_levels(writer);
            }
            for (int i = 0; i < changes_; ++i) {
                append_note(std::to_string(writer) + " " + std::to_string(i));
                // The time of a request goes by.
                (void)ask_own_agent({"FETCHFILE"});
            }
            return 0;
        });
        const Reading reading = read_while_running(writers);
        const int refused = writers.finish();
        const std::string text = read_file(changed_file);
        int notes = 0;
        for (const std::string_view line : split_lines(text)) {
            notes += line.starts_with(note_key) ? 1 : 0;
        }
        const std::string name = "key-value file, " + std::to_string(count / 2) + " agents, " +
                                 std::to_string(count / 2) + " other programs: ";
        print_figure(name + "changes by agents, refused",
                     std::to_string(count / 2 * changes_) + ", " + std::to_string(refused));
        print_figure(name + "lines appended, lost", std::to_string(count / 2 * changes_) + ", " +
                                                        std::to_string(count / 2 * changes_ - notes));
        print_figure(name + "reads, not of a whole file",
                     std::to_string(reading.reads) + ", " + std::to_string(reading.broken));
        print_figure(name + "whole at the end", is_whole(text) ? "yes" : "no");
        EXPECT_TRUE(is_whole(text));
    }
}

}  // namespace
