// Counts failed items and unanswered parts of a request. The status of the request does not show all of them.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

struct AnswerCount {
    std::size_t items = 0;
    std::size_t failed = 0;
    std::vector<std::string> failed_names;  // the first ten
    std::size_t not_answered = 0;
    // What was not answered. Has more than `not_answered` names when the answer shows how many are missing but not
    // which; then only some of these are.
    std::vector<std::string> unanswered;

    bool operator==(const AnswerCount&) const = default;
};

// Counts the lines of the answer to one request, without its status line.
//
// An item is a line that begins with "PROCESS=" or, for CLEANUP, with "CLEANUP: ". The answer to a word that names a
// tool has no items. A failed item never counts as a success, whatever text a value in its line contains: an item
// succeeds only when the line has a status and everything that looks like a status is 0. When an agent's buffer was too
// short for the newline, two lines run together; they are split at the buffer's length.
//
// Not answered is a category that no item names while the status is 0, a directory of GETDISKSPACE whose free space is
// missing, and a request without arguments if its word needs them. When an argument contains a newline, part of it can
// look like a line of the answer; then nothing counts as answered.
class AnswerTally {
  public:
    explicit AnswerTally(const std::vector<std::string>& request);

    // Takes bytes of the answer as they arrive.
    void add(std::string_view bytes);

    // Ends the answer and returns the counts.
    [[nodiscard]] AnswerCount finish(int status);

  private:
    void take(std::string_view line);
    void take_process(std::string_view line);
    void take_category(std::string_view start);
    void take_cleanup(std::string_view line);
    void take_space(std::string_view rest);
    void add_item(bool succeeded, std::string_view name);
    void add_unanswered_categories();
    void add_unanswered_directories();

    std::vector<std::string> request_;
    bool is_believed_;  // no argument can look like a line of the answer
    std::string line_;  // the received part of a line
    // The categories of the request that no item names, and the position where each comes first.
    std::map<std::string, std::size_t, std::less<>> unnamed_categories_;
    std::vector<std::string> measured_;  // directories whose free space was received
    AnswerCount count_;
};

// Returns one line for people: "0 of 2 items failed; 1 thing not answered: FOO". Empty when nothing failed and
// everything was answered. Escapes control characters.
std::string describe(const AnswerCount& count);
