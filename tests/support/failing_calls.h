// System calls that fail when a test says so: the one way to say it in every test program. A program wraps the calls
// that it needs (cmake/wrap_calls.cmake), and each wrapper asks `fails` before it makes the real call.
//
//     failures["rename"] = {EBUSY};            the next one fails
//     failures["poll"] = {EINTR, 0, EINTR};    the next one and the third one fail
//     failures["fork"] = always(EAGAIN);       all fail
//     failures["open /dev/null"] = {EMFILE};   the next one of this file fails
#pragma once

#include <deque>
#include <initializer_list>
#include <map>
#include <string>

namespace failing_calls {

// The results of the next calls: an error number for each that fails, 0 for each that goes through. Then calls go
// through, unless a lasting error was given.
class Outcomes {
  public:
    Outcomes() = default;
    Outcomes(std::initializer_list<int> errors) : next_(errors) {}
    Outcomes(const std::deque<int>& errors, int lasting_error) : next_(errors), lasting_error_(lasting_error) {}

    // Returns the error number of this call, or 0 when it goes through.
    int take();

    // Returns whether calls have failed as often as was requested.
    [[nodiscard]] bool spent() const { return next_.empty() && (lasting_error_ == 0 || lasting_error_was_taken_); }

  private:
    std::deque<int> next_;
    int lasting_error_ = 0;
    bool lasting_error_was_taken_ = false;
};

// All calls fail.
[[nodiscard]] Outcomes always(int error);
// A number of calls go through, and then all fail.
[[nodiscard]] Outcomes always_after(std::size_t calls, int error);
// A number of calls fail, and then all go through.
[[nodiscard]] Outcomes times(std::size_t calls, int error);

// By the name of the call, or by its name and its subject, a path for instance. Each program's wrappers say which.
extern std::map<std::string, Outcomes> failures;

// Returns whether this call fails, and sets errno when it does. Outcomes for "NAME SUBJECT" replace those for NAME.
[[nodiscard]] bool fails(const std::string& name, const std::string& subject = "");

// Lets all calls through. Returns the names of those that have not failed as often as requested, each with a blank
// after it; failures in child processes do not count.
std::string reset();

}  // namespace failing_calls
