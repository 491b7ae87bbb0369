// Changes of a key-value file, which take no lock: what is certain, and how much is lost when many programs write.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
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
const std::string plugin_file = plugins + "rk.conf";
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

// Returns whether the text is the whole file: the unchanged lines and one level in order, followed only by whole notes.
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
        const bool is_right = i >= expected.size()    ? lines[i].starts_with(note_key) && lines[i].ends_with(".")
                              : is_level(expected[i]) ? is_level(lines[i])
                                                      : lines[i] == expected[i];
        if (!is_right) {
            return false;
        }
    }
    return true;
}

// Adds a line as other programs do: with one write at the end of the file.
void append_note(const std::string& note) {
    const Descriptor file(open(changed_file.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    if (!file.valid() || !write_all(file.get(), note_key + note + ".\n")) {
        throw std::runtime_error("cannot append a note");
    }
}

// What a reader saw while the writers ran.
struct Reading {
    int reads = 0;
    int broken = 0;
};

Reading read_while_running(const Writers& writers) {
    Reading reading;
    do {
        ++reading.reads;
        reading.broken += is_whole(read_file(changed_file)) ? 0 : 1;
    } while (writers.are_running());
    return reading;
}

int count_notes() {
    const std::string text = read_file(changed_file);
    const std::vector<std::string_view> lines = split_lines(text);
    return static_cast<int>(
        std::count_if(lines.begin(), lines.end(), [](std::string_view line) { return line.starts_with(note_key); }));
}

int count_unchanged_lines() {
    const std::string text = read_file(changed_file);
    const std::vector<std::string_view> lines = split_lines(text);
    int count = 0;
    for (const std::string_view line : split_lines(text_before)) {
        count += !is_level(line) && std::find(lines.begin(), lines.end(), line) != lines.end() ? 1 : 0;
    }
    return count;
}

class KeyValueFile : public ProductTest {
  protected:
    KeyValueFile() { write_file(changed_file, text_before); }

    // Sets levels one after the other. Returns how many of them the agent reported as failed.
    [[nodiscard]] int set_levels(int writer) const {
        int failed = 0;
        for (int i = 0; i < changes_; ++i) {
            failed += is_done(ask_own_agent(set_level(std::to_string(writer * changes_ + i)))) ? 0 : 1;
        }
        return failed;
    }

    [[nodiscard]] int append_notes(int writer) const {
        for (int i = 0; i < changes_; ++i) {
            append_note(std::to_string(writer) + " " + std::to_string(i));
            static_cast<void>(ask_own_agent({"FETCHFILE"}));  // takes the time of a request
        }
        return 0;
    }

    const int changes_ = share(25, 100);
};

TEST_F(KeyValueFile, IsAlwaysWholeWhenAgentsChangeItOneAfterTheOther) {
    Writers writer(1, [&](int number) { return set_levels(number); });
    const Reading reading = read_while_running(writer);
    EXPECT_EQ(writer.finish(), 0);
    EXPECT_EQ(reading.broken, 0);
    EXPECT_EQ(read_file(changed_file),
              unchanged_lines("FIRST") + level_key + std::to_string(changes_ - 1) + "\n" + unchanged_lines("LAST"));
}

// All agents write their copy under the same fixed name, so agents that run at once can damage the file. Only the
// figures show how much of it survives.
TEST_F(KeyValueFile, CanBeChangedAfterManyAgentsAtOnce) {
    for (const int count : {2, 8, 64}) {
        write_file(changed_file, text_before);
        Writers writers(count, [&](int writer) { return set_levels(writer); });
        const Reading reading = read_while_running(writers);
        const int failed = writers.finish();
        const int changes = count * changes_;
        const std::string name = "key-value file, " + std::to_string(count) + " agents: ";
        print_figure(name + "changes, failed", changes, failed);
        print_figure(name + "reads, not of a whole file", reading.reads, reading.broken);
        print_figure(name + "unchanged lines, missing at the end", 40, 40 - count_unchanged_lines());
        EXPECT_TRUE(is_done(ask_own_agent(set_level("7"))));
        EXPECT_NE(read_file(changed_file).find(level_key + "7\n"), std::string::npos);
    }
}

// Half of the writers are agents, the others are programs that append lines.
TEST_F(KeyValueFile, CanBeChangedAfterManyAgentsAndOtherProgramsAtOnce) {
    for (const int half : {1, 4, 32}) {
        write_file(changed_file, text_before);
        Writers writers(2 * half,
                        [&](int writer) { return writer % 2 == 0 ? set_levels(writer) : append_notes(writer); });
        const Reading reading = read_while_running(writers);
        const int failed = writers.finish();
        const int changes = half * changes_;
        const std::string name =
            "key-value file, " + std::to_string(half) + " agents, " + std::to_string(half) + " other programs: ";
        print_figure(name + "changes by agents, failed", changes, failed);
        print_figure(name + "lines appended, lost", changes, changes - count_notes());
        print_figure(name + "reads, not of a whole file", reading.reads, reading.broken);
        // The work of a single agent is certain, even next to other programs.
        EXPECT_TRUE(half > 1 || (failed == 0 && reading.broken == 0 && is_whole(read_file(changed_file))));
        EXPECT_TRUE(is_done(ask_own_agent(set_level("7"))));
        EXPECT_NE(read_file(changed_file).find(level_key + "7\n"), std::string::npos);
    }
}

// Sets values and reads each one back before the next one. Returns how many failed or were lost.
int count_not_kept(int changes, const std::function<Request(int)>& request,
                   const std::function<std::string(int)>& line) {
    int lost = 0;
    for (int i = 0; i < changes; ++i) {
        const bool done = is_done(ask_own_agent(request(i)));
        static_cast<void>(ask_own_agent({"FETCHFILE"}));  // takes the time of a request
        lost += done && read_file(plugin_file).find(line(i) + "\n") != std::string::npos ? 0 : 1;
    }
    return lost;
}

TEST_F(KeyValueFile, CanBeChangedAfterTwoAgentsThatChangeDifferentSettings) {
    write_file("/etc/rkregistry.cfg", "kpa.cfg=" + plugin_file + "\n");
    write_file(plugin_file, "Logging=none,thread\nLOGLEVEL = 1\n");
    Writers writers(2, [&](int writer) {
        if (writer == 0) {
            return count_not_kept(
                changes_,
                [](int i) -> Request {
                    return {"ENABLELOGGING", "RK:component=" + std::to_string(i)};
                },
                [](int i) { return "Logging=" + std::to_string(i) + ",thread"; });
        }
        return count_not_kept(
            changes_,
            [](int i) -> Request {
                return {"ENABLELOGGING", "RKPLUGIN:rkplugin=" + std::to_string(i)};
            },
            [](int i) { return "LOGLEVEL = " + std::to_string(i); });
    });
    const int changes = 2 * changes_;
    print_figure("key-value file, 2 agents, a setting each: changes, not kept", changes, writers.finish());
    EXPECT_TRUE(is_done(ask_own_agent({"ENABLELOGGING", "RK:component=last"})));
    EXPECT_NE(read_file(plugin_file).find("Logging=last,thread\n"), std::string::npos);
}

}  // namespace
