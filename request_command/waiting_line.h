// Shows on a terminal that the connection or the answer takes long.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "platform/idle_task.h"

// One line that shows the peer, the elapsed time and how much was received. It appears when nothing has arrived for a
// while, is rewritten in place, and disappears as soon as something arrives. It is never wider than the terminal. It is
// wiped with blanks, which every terminal supports.
class WaitingLine : public IdleTask {
  public:
    using Time = Clock::time_point;

    // The time without data after which the line appears, and the time between rewrites.
    static constexpr std::chrono::seconds patience{2};
    static constexpr std::chrono::seconds interval{1};

    struct Terminal {
        std::function<void(std::string_view)> write;
        std::function<std::size_t()> width;  // in columns
    };

    // The wait began at `start`.
    WaitingLine(std::string_view peer, Terminal terminal, Time start);

    // Shows or rewrites the line when it is due.
    void show(Time now);

    [[nodiscard]] Deadline due() const override { return due_; }
    void run() override { show(Clock::now()); }

    // Counts received bytes, and wipes the line.
    void count(std::string_view bytes, Time now);

    // Removes the line from the terminal, so that something else can be printed.
    void wipe();

    // Sets whether the cursor is at the beginning of a line. Only there is the line shown, because it would overwrite
    // other text.
    void set_at_line_start(bool is_at_line_start) { is_at_line_start_ = is_at_line_start; }

  private:
    [[nodiscard]] std::string text(Time now) const;

    std::string peer_;
    Terminal terminal_;
    Time start_;
    Time due_;
    std::size_t lines_ = 0;
    std::size_t bytes_ = 0;
    std::size_t shown_ = 0;  // length of the line on the terminal
    bool is_at_line_start_ = true;
};
