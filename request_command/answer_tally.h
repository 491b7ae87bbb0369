// Counts what failed and what was not answered: the status of a request does not show it all.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

struct AnswerCount {
    std::size_t items = 0;
    std::size_t failed = 0;
    std::vector<std::string> failed_names;  // the first ten
    std::size_t not_answered = 0;
    // What was not answered. More names than that where the answer shows how many but not which: then it is some of
    // these.
    std::vector<std::string> unanswered;

    bool operator==(const AnswerCount&) const = default;
};

// Looks at the answer to one request, without its status line.
//
// An item is an answer line that begins with "PROCESS=", or, for CLEANUP, with "CLEANUP: ". The lines of a word that
// names a tool are the tool's, and none of them is an item. Whatever a value in the line looks like, an item that
// failed is never counted as one that succeeded: an item succeeds only when all that looks like its status is 0, so
// that a line without a status has failed too. Lines that ran together because an agent's buffer was too short for the
// newline are taken apart where such a buffer ends.
//
// Not answered is a category that no item names while the status is 0, a directory of GETDISKSPACE whose space did not
// come, and a request without arguments where the word takes some. When an argument holds a newline, a part of it can
// pass for a line of the answer; then nothing counts as answered.
class AnswerTally {
  public:
    explicit AnswerTally(const std::vector<std::string>& request);

    // Takes bytes of the answer as they come.
    void print(std::string_view bytes);

    // Takes the answer's end. Returns what was counted.
    [[nodiscard]] AnswerCount finish(int status);

  private:
    void take(std::string_view line);
    void take_process(std::string_view line);
    void take_cleanup(std::string_view result);
    void take_space(std::string_view rest);
    void add_item(bool succeeded, std::string_view name);
    void add_unanswered_categories();
    void add_unanswered_directories();

    std::vector<std::string> request_;
    bool is_believed_;                             // no argument can pass for a line of the answer
    std::string line_;                             // what has come of a line
    std::vector<std::string> unnamed_categories_;  // of the request, each once
    std::vector<std::string> measured_;            // directories whose space came
    AnswerCount count_;
};

// Returns one line for people: "0 of 2 items failed; 1 thing not answered: FOO". Empty when nothing of that happened.
// Control characters are escaped.
std::string describe(const AnswerCount& count);
