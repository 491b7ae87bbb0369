// Shows at a terminal that an answer takes long.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

// One line that shows the peer, the time that has passed and what has come so far. It appears when nothing has come for
// a while, is rewritten in place, and goes as soon as something comes. It is never longer than the terminal is wide,
// and is wiped with blanks: every terminal knows these.
class WaitingLine {
  public:
    using Clock = std::chrono::steady_clock;
    using Time = Clock::time_point;

    // After so long without anything the line appears, and so often it is rewritten.
    static constexpr std::chrono::seconds patience{2};
    static constexpr std::chrono::seconds interval{1};

    struct Terminal {
        std::function<void(std::string_view)> write;
        std::function<std::size_t()> width;  // in columns
    };

    // The time that has passed is that since `start`, the patience counts from `now`.
    WaitingLine(std::string_view peer, Terminal terminal, Time start, Time now);

    // Returns the time until the line is due, rounded up.
    [[nodiscard]] std::chrono::milliseconds time_left(Time now) const;

    // Shows or rewrites the line when it is due.
    void show(Time now);

    // Counts bytes that have come, and takes the line away.
    void count(std::string_view bytes, Time now);

    // Takes the line away, because something else is going to be printed on the terminal.
    void wipe();

    // Says whether the terminal's cursor is at the beginning of a line. Elsewhere the line would spoil what is there.
    void set_at_line_start(bool is_at_line_start) { is_at_line_start_ = is_at_line_start; }

  private:
    [[nodiscard]] std::string text(Time now) const;

    std::string peer_;
    Terminal terminal_;
    Time start_;
    Time due_;
    std::size_t lines_ = 0;
    std::size_t bytes_ = 0;
    std::size_t shown_ = 0;  // length of what stands on the terminal
    bool is_at_line_start_ = true;
};
