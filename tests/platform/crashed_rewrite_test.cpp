// A rewrite that is killed at each of its system calls.
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <system_error>

#include "tests/platform/rewritten_file.h"
#include "tests/support/test_files.h"

namespace {

void check(long result, const char* what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

// A child process that carries the change out and stops before and after each system call.
class TracedChange {
  public:
    explicit TracedChange(const Change& change) : process_(fork()) {
        check(process_, "fork");
        if (process_ == 0) {
            ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            raise(SIGSTOP);
            _exit(change() == 0 ? 0 : 1);
        }
        await();
        check(ptrace(PTRACE_SETOPTIONS, process_, nullptr, PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD), "trace");
    }
    ~TracedChange() { kill(); }
    TracedChange(const TracedChange&) = delete;
    TracedChange& operator=(const TracedChange&) = delete;

    // Lets it go on to the next stop. Returns whether there was one before its end.
    bool step() {
        check(ptrace(PTRACE_SYSCALL, process_, nullptr, nullptr), "go on");
        await();
        return WIFSTOPPED(status_);
    }

    void kill() {
        if (WIFSTOPPED(status_)) {
            ::kill(process_, SIGKILL);
            await();
        }
    }

    [[nodiscard]] bool succeeded() const { return WIFEXITED(status_) && WEXITSTATUS(status_) == 0; }

  private:
    void await() { check(waitpid(process_, &status_, 0), "wait"); }

    pid_t process_;
    int status_ = 0;
};

}  // namespace

class CrashedRewrite : public RewriteTest {
  protected:
    // Kills the change at a stop. Returns false when it has none of that number and went through.
    [[nodiscard]] bool crash_at(int stop) const {
        TracedChange traced(GetParam().prepare());
        for (int i = 0; i < stop; ++i) {
            if (!traced.step()) {
                EXPECT_TRUE(traced.succeeded());
                return false;
            }
        }
        traced.kill();
        return true;
    }
};
FOR_EACH_REWRITTEN_FILE(CrashedRewrite);

TEST_P(CrashedRewrite, LeavesTheOldOrTheNewTextAndNothingThatTheNextOneDoesNotClearAway) {
    int old_texts = 0;
    int new_texts = 0;
    write_file(GetParam().path, GetParam().before);
    for (int stop = 1; crash_at(stop); ++stop) {
        SCOPED_TRACE("killed at stop " + std::to_string(stop));
        const std::string text = read_file(GetParam().path);
        old_texts += text == GetParam().before ? 1 : 0;
        new_texts += text == GetParam().after ? 1 : 0;
        EXPECT_TRUE(text == GetParam().before || text == GetParam().after) << text;
        EXPECT_EQ(GetParam().add_entry(1), 0);
        expect_text(text + GetParam().entry_line(1));
        expect_nothing_left_behind();
        write_file(GetParam().path, GetParam().before);
        remove_tree(GetParam().lock());
    }
    expect_rewritten();
    EXPECT_GT(old_texts, 20);
    EXPECT_GT(new_texts, 2);
}

// The next rewrite does not take the text of the one that was killed.
TEST_P(CrashedRewrite, LeavesNothingThatTheNextOneTakesUp) {
    for (int stop = 1; crash_at(stop); ++stop) {
        write_file(GetParam().path, "# other\n");
        EXPECT_EQ(GetParam().add_entry(2), 0);
        expect_text("# other\n" + GetParam().entry_line(2));
        write_file(GetParam().path, GetParam().before);
    }
    expect_rewritten();
}
