// A terminal for tests.
#pragma once

#include <string>
#include <string_view>

#include "platform/posix.h"

class Terminal {
  public:
    // Passes bytes unchanged.
    explicit Terminal(unsigned short columns);

    // The descriptor that programs write to.
    [[nodiscard]] int get() const { return programs_side_.get(); }

    // Closes that descriptor in this process, so that the text ends with the last program.
    void leave_to_programs() { programs_side_.reset(); }

    // Waits until the terminal has the text. Returns all that was written.
    std::string await(std::string_view text);

    // Waits until the last program has closed the terminal. Returns all that was written.
    std::string await_end();

  private:
    bool receive();

    Descriptor reading_side_;
    Descriptor programs_side_;
    std::string text_;
};
