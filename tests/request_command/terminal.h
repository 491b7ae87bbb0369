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

    // Waits until the terminal has the text. Returns all that was written.
    std::string await(std::string_view text);

    // Closes the programs' descriptor in this process, and waits until the last program has closed it too. Returns all
    // that was written.
    std::string await_end();

  private:
    bool receive();

    Descriptor reading_side_;
    Descriptor programs_side_;
    std::string text_;
};
