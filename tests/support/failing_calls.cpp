#include "tests/support/failing_calls.h"

#include <cerrno>

namespace failing_calls {

std::map<std::string, Outcomes> failures;

int Outcomes::take() {
    if (next_.empty()) {
        lasting_error_was_taken_ = true;
        return lasting_error_;
    }
    const int error = next_.front();
    next_.pop_front();
    return error;
}

Outcomes always(int error) {
    return Outcomes(std::deque<int>(), error);
}

Outcomes always_after(std::size_t calls, int error) {
    return Outcomes(std::deque<int>(calls, 0), error);
}

Outcomes times(std::size_t calls, int error) {
    return Outcomes(std::deque<int>(calls, error), 0);
}

bool fails(const std::string& name, const std::string& subject) {
    if (failures.empty()) {
        return false;
    }
    auto found = failures.find(name + " " + subject);
    if (found == failures.end()) {
        found = failures.find(name);
    }
    const int error = found == failures.end() ? 0 : found->second.take();
    if (error != 0) {
        errno = error;
    }
    return error != 0;
}

std::string reset() {
    std::string names;
    for (const auto& [name, outcomes] : failures) {
        names += outcomes.spent() ? "" : name + " ";
    }
    failures.clear();
    return names;
}

}  // namespace failing_calls
