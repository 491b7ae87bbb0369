// Several processes that rewrite one file.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "platform/posix.h"
#include "tests/platform/child_process.h"
#include "tests/platform/rewritten_file.h"
#include "tests/platform/stored_levels.h"
#include "tests/platform/system_calls.h"
#include "tests/support/product_tree.h"
#include "tests/support/test_files.h"

using system_calls::overrides;

namespace {

Descriptor hold_lock(const std::string& name) {
    Descriptor lock(open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    EXPECT_EQ(flock(lock.get(), LOCK_EX | LOCK_NB), 0) << name;
    return lock;
}

// Child processes have the descriptor too, so closing it would not release the lock.
void release(const Descriptor& lock) {
    EXPECT_EQ(flock(lock.get(), LOCK_UN), 0);
}

bool is_locked(const std::string& name) {
    const Descriptor lock(open(name.c_str(), O_RDWR | O_CLOEXEC));
    EXPECT_TRUE(lock.valid()) << name;
    return flock(lock.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

// Returns whether the kernel lists the process as waiting for a lock.
bool waits_for_lock(pid_t process) {
    const std::string locks = read_file("/proc/locks");
    const std::string mark = " " + std::to_string(process) + " ";
    for (std::size_t start = 0; start < locks.size();) {
        const std::size_t end = std::min(locks.find('\n', start), locks.size());
        const std::string line = locks.substr(start, end - start);
        if (line.find("-> FLOCK") != std::string::npos && line.find(mark) != std::string::npos) {
            return true;
        }
        start = end + 1;
    }
    return false;
}

// Returns when the process waits for a lock. The test fails when it ends instead.
void await_wait_for_lock(ChildProcess& process) {
    while (!waits_for_lock(process.id())) {
        ASSERT_TRUE(process.runs()) << "the process has not waited";
        sched_yield();
    }
}

constexpr int writers = 8;
constexpr int changes_of_each = 20;

// Makes the changes 0, 1 and so on in several processes at once.
void change_in_many_processes(const std::function<void(int number)>& change) {
    std::deque<ChildProcess> processes;
    for (int writer = 0; writer < writers; ++writer) {
        processes.emplace_back([&, writer] {
            for (int i = 0; i < changes_of_each; ++i) {
                change(writer * changes_of_each + i);
            }
        });
    }
    for (ChildProcess& process : processes) {
        EXPECT_EQ(process.wait(), 0);
    }
}

}  // namespace

class RewriteLock : public RewriteTest {
  protected:
    // Many processes add entries at once. Their order does not matter.
    void expect_no_change_lost() const {
        change_in_many_processes([](int number) { EXPECT_EQ(GetParam().add_entry(number), 0); });
        const std::string text = read_file(GetParam().path);
        EXPECT_TRUE(text.starts_with(GetParam().before));
        std::size_t length = GetParam().before.size();
        for (int number = 0; number < writers * changes_of_each; ++number) {
            const std::string line = GetParam().entry_line(number);
            EXPECT_NE(text.find("\n" + line), std::string::npos) << line;
            length += line.size();
        }
        EXPECT_EQ(text.size(), length);
        expect_nothing_left_behind();
    }
};
FOR_EACH_REWRITTEN_FILE(RewriteLock);

TEST_P(RewriteLock, IsAFileBesideTheOriginalThatOnlyItsOwnerMayUse) {
    for (const mode_t mask : {0U, 022U}) {
        remove_tree(GetParam().lock());
        const mode_t mask_before = umask(mask);
        expect_change();
        umask(mask_before);
        EXPECT_EQ(mode_of(GetParam().lock()), 0600U);
        EXPECT_EQ(read_file(GetParam().lock()), "");
    }
}

TEST_P(RewriteLock, IsLeftInPlace) {
    const Descriptor lock = hold_lock(GetParam().lock());
    struct stat before {};
    ASSERT_EQ(fstat(lock.get(), &before), 0);
    release(lock);
    expect_change();
    struct stat after {};
    ASSERT_EQ(stat(GetParam().lock().c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_FALSE(is_locked(GetParam().lock()));
}

TEST_P(RewriteLock, IsHeldFromTheReadToTheEnd) {
    const Change change = GetParam().prepare();
    std::vector<std::string> unlocked;
    system_calls::reset();
    overrides.before_call = [&](const std::string& call) {
        if (call != "lock" && !is_locked(GetParam().lock())) {
            unlocked.push_back(call);
        }
    };
    EXPECT_EQ(change(), 0);
    overrides.before_call = nullptr;
    EXPECT_EQ(unlocked, std::vector<std::string>());
    EXPECT_EQ(system_calls::journal.back(), "flush folder");
    EXPECT_FALSE(is_locked(GetParam().lock()));
}

// The waiting process reads what the holder has written.
TEST_P(RewriteLock, IsWaitedForBeforeTheFileIsRead) {
    const Descriptor lock = hold_lock(GetParam().lock());
    ChildProcess writer([&] { EXPECT_EQ(GetParam().change(), 0); });
    await_wait_for_lock(writer);
    expect_text(GetParam().before);
    write_file(GetParam().path, "# written by the holder\n" + GetParam().before);
    release(lock);
    EXPECT_EQ(writer.wait(), 0);
    expect_text("# written by the holder\n" + GetParam().after);
    expect_nothing_left_behind();
}

TEST_P(RewriteLock, MakesEveryWriterWait) {
    const Descriptor lock = hold_lock(GetParam().lock());
    ChildProcess first([&] { EXPECT_EQ(GetParam().add_entry(1), 0); });
    ChildProcess second([&] { EXPECT_EQ(GetParam().add_entry(2), 0); });
    await_wait_for_lock(first);
    await_wait_for_lock(second);
    release(lock);
    EXPECT_EQ(first.wait(), 0);
    EXPECT_EQ(second.wait(), 0);
    const std::string text = read_file(GetParam().path);
    const std::string one = GetParam().entry_line(1);
    const std::string two = GetParam().entry_line(2);
    EXPECT_TRUE(text == GetParam().before + one + two || text == GetParam().before + two + one) << text;
}

TEST_P(RewriteLock, IsWaitedForEvenWhenTheNameIsALink) {
    remove_tree(GetParam().path);
    write_file("/opt/site/settings", GetParam().before);
    make_link("/opt/site/settings", GetParam().path);
    const Descriptor lock = hold_lock(GetParam().lock());
    ChildProcess writer([&] { EXPECT_EQ(GetParam().change(), 0); });
    await_wait_for_lock(writer);
    expect_text(GetParam().before);
    release(lock);
    EXPECT_EQ(writer.wait(), 0);
    expect_rewritten();
}

TEST_P(RewriteLock, IsReleasedWhenItsHolderIsKilled) {
    const Change change = GetParam().prepare();
    ChildProcess holder([&] {
        overrides.before_call = [](const std::string& call) {
            if (call == "flush file") {
                kill(getpid(), SIGKILL);
            }
        };
        change();
    });
    EXPECT_EQ(holder.wait(), -1);
    expect_text(GetParam().before);
    expect_change();
}

TEST_P(RewriteLock, LosesNoChangeOfManyWriters) {
    expect_no_change_lost();
}

// The stores of two products may be the same file.
TEST(RewriteLockOfTwoNames, LosesNoChangeOfManyWriters) {
    make_product_tree();
    system_calls::reset();
    write_store("", 51216);
    make_link("51216.conf", store_file(58330));
    change_in_many_processes([](int number) {
        Originator originator(static_cast<unsigned long>(number), number % 2 == 0 ? 51216 : 58330);
        EXPECT_EQ(originator.set_debug_level(4), 0);
        EXPECT_EQ(originator.write(), 0);
    });
    for (int number = 0; number < writers * changes_of_each; ++number) {
        EXPECT_EQ(Originator(static_cast<unsigned long>(number)).debug_level(), 4) << number;
    }
}
