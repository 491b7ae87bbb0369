// Allocations that fail, for an agent that links this file. The variable ZMLA_ALLOCATION has the number of the first
// one; "+" after the number means that all later ones fail too. The first failure makes an empty file as a mark.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>

// NOLINTBEGIN(bugprone-reserved-identifier, cppcoreguidelines-no-malloc, readability-inconsistent-*): the C library's
// functions and their reserved parameter names.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}

namespace {

constexpr const char* mark = "/tmp/allocation_failed";

struct Plan {
    long number = 0;
    bool ever_after = false;
};

Plan read_plan() {
    const char* const text = getenv("ZMLA_ALLOCATION");
    if (text == nullptr) {
        return {};
    }
    char* end = nullptr;
    const long number = strtol(text, &end, 10);
    return {number, *end == '+'};
}

bool fails() {
    static const Plan plan = read_plan();
    static long count = 0;
    ++count;
    if (plan.number == 0 || count < plan.number || (count > plan.number && !plan.ever_after)) {
        return false;
    }
    if (count == plan.number) {
        close(open(mark, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    }
    errno = ENOMEM;
    return true;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
    return fails() ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    return fails() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) {
    return fails() ? nullptr : __libc_realloc(memory, size);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier, cppcoreguidelines-no-malloc, readability-inconsistent-*)
