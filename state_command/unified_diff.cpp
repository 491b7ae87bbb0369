#include "state_command/unified_diff.h"

#include <algorithm>
#include <cstddef>

namespace {

using Lines = std::vector<std::string_view>;

// Lines keep their newlines, so that a last line without newline differs from one with it.
Lines split(std::string_view text) {
    Lines lines;
    while (!text.empty()) {
        const std::size_t newline = text.find('\n');
        const std::size_t length = newline == std::string_view::npos ? text.size() : newline + 1;
        lines.push_back(text.substr(0, length));
        text.remove_prefix(length);
    }
    return lines;
}

// One line of the difference: a line of both texts, of the old text or of the new text.
struct Step {
    char mark;  // ' ', '-' or '+'
    std::string_view line;
};
using Steps = std::vector<Step>;

// Finds a shortest list of steps from the old lines to the new ones (Myers' greedy algorithm). Its memory grows with
// the square of the number of changed lines. When there are more changes than `bound`, it replaces all lines.
class ShortestWay {
  public:
    ShortestWay(const Lines& from, const Lines& to)
        : from_(from), to_(to), most_(std::min<std::ptrdiff_t>(bound, size(from) + size(to))) {}

    // Appends the steps.
    void append(Steps& steps) {
        const std::ptrdiff_t changes = search();
        Steps way;
        if (changes < 0) {
            replace_all(steps);
            return;
        }
        std::ptrdiff_t x = size(from_);
        std::ptrdiff_t y = size(to_);
        for (std::ptrdiff_t d = changes; d >= 0; --d) {
            step_back(d, x, y, way);
        }
        steps.insert(steps.end(), way.rbegin(), way.rend());
    }

  private:
    static constexpr std::ptrdiff_t bound = 2000;

    static std::ptrdiff_t size(const Lines& lines) { return static_cast<std::ptrdiff_t>(lines.size()); }
    std::string_view from_at(std::ptrdiff_t x) const { return from_[static_cast<std::size_t>(x)]; }
    std::string_view to_at(std::ptrdiff_t y) const { return to_[static_cast<std::size_t>(y)]; }

    // Returns the largest x that d changes reach on diagonal k, which is x - y and goes from -d to d.
    std::ptrdiff_t reached(std::ptrdiff_t d, std::ptrdiff_t k) const {
        return k < -d || k > d ? -1 : furthest_[static_cast<std::size_t>(d)][static_cast<std::size_t>(k + d)];
    }

    // Returns whether the d-th change on diagonal k adds a line of the new text. Otherwise it removes one of the old
    // text.
    bool comes_from_above(std::ptrdiff_t d, std::ptrdiff_t k) const {
        return k == -d || (k != d && reached(d - 1, k - 1) < reached(d - 1, k + 1));
    }

    std::ptrdiff_t start_of(std::ptrdiff_t d, std::ptrdiff_t k) const {
        if (d == 0) {
            return 0;
        }
        return comes_from_above(d, k) ? reached(d - 1, k + 1) : reached(d - 1, k - 1) + 1;
    }

    // Returns the number of changes, or -1 when there are too many.
    std::ptrdiff_t search() {
        for (std::ptrdiff_t d = 0; d <= most_; ++d) {
            std::vector<std::ptrdiff_t>& row = furthest_.emplace_back(static_cast<std::size_t>(2 * d + 1), -1);
            for (std::ptrdiff_t k = -d; k <= d; k += 2) {
                std::ptrdiff_t x = start_of(d, k);
                while (x < size(from_) && x - k < size(to_) && from_at(x) == to_at(x - k)) {
                    ++x;
                }
                row[static_cast<std::size_t>(k + d)] = x;
                if (x >= size(from_) && x - k >= size(to_)) {
                    return d;
                }
            }
        }
        return -1;
    }

    // Goes back to the point that d - 1 changes reach, and appends the steps on the way, the last step first.
    void step_back(std::ptrdiff_t d, std::ptrdiff_t& x, std::ptrdiff_t& y, Steps& way) const {
        const std::ptrdiff_t k = x - y;
        const std::ptrdiff_t start = start_of(d, k);
        for (; x > start; --x, --y) {
            way.push_back({' ', from_at(x - 1)});
        }
        if (d > 0 && comes_from_above(d, k)) {
            way.push_back({'+', to_at(--y)});
        } else if (d > 0) {
            way.push_back({'-', from_at(--x)});
        }
    }

    void replace_all(Steps& steps) const {
        for (const std::string_view line : from_) {
            steps.push_back({'-', line});
        }
        for (const std::string_view line : to_) {
            steps.push_back({'+', line});
        }
    }

    const Lines& from_;
    const Lines& to_;
    std::ptrdiff_t most_;
    std::vector<std::vector<std::ptrdiff_t>> furthest_;
};

// Leaves out of the search the lines that both texts share at the start and at the end.
Steps steps_between(const Lines& from, const Lines& to) {
    const auto begin = std::mismatch(from.begin(), from.end(), to.begin(), to.end());
    const auto common = begin.first - from.begin();
    const auto end = std::mismatch(from.rbegin(), from.rend() - common, to.rbegin(), to.rend() - common);
    Steps steps;
    std::for_each(from.begin(), begin.first, [&](std::string_view line) { steps.push_back({' ', line}); });
    ShortestWay({begin.first, end.first.base()}, {begin.second, end.second.base()}).append(steps);
    std::for_each(end.first.base(), from.end(), [&](std::string_view line) { steps.push_back({' ', line}); });
    return steps;
}

// Returns the range of one side of a hunk: "first,count", or "first" for a count of 1. An empty side has the number of
// the line before it.
std::string range(std::size_t lines_before, std::size_t count) {
    const std::size_t first = count == 0 ? lines_before : lines_before + 1;
    return count == 1 ? std::to_string(first) : std::to_string(first) + "," + std::to_string(count);
}

void append_step(std::vector<std::string>& out, const Step& step) {
    const bool ends = step.line.ends_with('\n');
    out.push_back(step.mark + std::string(step.line.substr(0, step.line.size() - (ends ? 1 : 0))));
    if (!ends) {
        out.emplace_back("\\ No newline at end of file");
    }
}

bool is_change(const Step& step) {
    return step.mark != ' ';
}

}  // namespace

std::vector<std::string> unified_diff(std::string_view from, std::string_view to) {
    constexpr std::ptrdiff_t context = 3;
    const Steps steps = steps_between(split(from), split(to));
    std::vector<std::string> out;
    std::size_t old_line = 0;
    std::size_t new_line = 0;
    const auto pass = [&](auto begin, auto end) {
        old_line +=
            static_cast<std::size_t>(std::count_if(begin, end, [](const Step& step) { return step.mark != '+'; }));
        new_line +=
            static_cast<std::size_t>(std::count_if(begin, end, [](const Step& step) { return step.mark != '-'; }));
    };
    for (auto done = steps.begin();;) {
        const auto change = std::find_if(done, steps.end(), is_change);
        if (change == steps.end()) {
            return out;
        }
        // A hunk ends at a change that has more than twice the context between it and the next one.
        const auto start = change - std::min(context, change - done);
        auto end = change;
        for (auto next = change; next != steps.end() && next - end <= 2 * context;
             next = std::find_if(end, steps.end(), is_change)) {
            end = next + 1;
        }
        end += std::min(context, steps.end() - end);
        pass(done, start);
        const std::size_t old_start = old_line;
        const std::size_t new_start = new_line;
        pass(start, end);
        out.push_back("@@ -" + range(old_start, old_line - old_start) + " +" + range(new_start, new_line - new_start) +
                      " @@");
        std::for_each(start, end, [&](const Step& step) { append_step(out, step); });
        done = end;
    }
}
