// A terminal of the test's own.
#pragma once

#include <string>
#include <string_view>

#include "platform/posix.h"

class Terminal {
  public:
    // Passes bytes on as they are.
    explicit Terminal(unsigned short columns);

    // The side that programs write to.
    [[nodiscard]] int get() const { return programs_side_.get(); }

    // Closes this process's own hold on that side, so that the end of the last program is the end of the text.
    void leave_to_programs() { programs_side_.reset(); }

    // Returns what has been written, once it holds the text.
    std::string await(std::string_view text);

    // Returns all that was written until the last program has closed the terminal.
    std::string await_end();

  private:
    bool receive();

    Descriptor reading_side_;
    Descriptor programs_side_;
    std::string text_;
};
