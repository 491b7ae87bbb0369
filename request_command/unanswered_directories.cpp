#include "request_command/unanswered_directories.h"

#include <libgen.h>

#include <algorithm>
#include <cstddef>

namespace {

using Texts = std::vector<std::string>;
using Positions = std::vector<std::size_t>;

bool can_be_answered_with(std::string directory, const std::string& answer) {
    if (directory.size() > 1 && directory.ends_with('/')) {
        directory.pop_back();
    }
    return directory == answer || dirname(directory.data()) == answer;
}

// Matches each answer with the first possible directory after that of the previous answer. Returns the positions of
// these directories; fewer than there are answers when one of them fits none.
Positions first_fit(const Texts& asked, const Texts& measured) {
    Positions positions;
    std::size_t next = 0;
    for (const std::string& answer : measured) {
        while (next != asked.size() && !can_be_answered_with(asked[next], answer)) {
            ++next;
        }
        if (next == asked.size()) {
            break;
        }
        positions.push_back(next++);
    }
    return positions;
}

// The same, matched from the end.
Positions last_fit(const Texts& asked, const Texts& measured) {
    Positions positions = first_fit({asked.rbegin(), asked.rend()}, {measured.rbegin(), measured.rend()});
    std::reverse(positions.begin(), positions.end());
    for (std::size_t& position : positions) {
        position = asked.size() - 1 - position;
    }
    return positions;
}

}  // namespace

Texts unanswered_directories(const Texts& asked, const Texts& measured) {
    const Positions first = first_fit(asked, measured);
    const Positions last = last_fit(asked, measured);
    if (first.size() != measured.size()) {
        return asked;
    }
    Texts unanswered;
    for (std::size_t i = 0; i != asked.size(); ++i) {
        // If both matches give the directory to the same answer, every match does.
        const auto found = std::find(first.begin(), first.end(), i);
        if (found == first.end() || last[static_cast<std::size_t>(found - first.begin())] != i) {
            unanswered.push_back(asked[i]);
        }
    }
    return unanswered;
}
