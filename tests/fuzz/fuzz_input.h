// The bytes of an input, read from the front. Choices are single bytes and texts end at a zero byte, so that people can
// read and write inputs.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class FuzzInput {
  public:
    FuzzInput(const std::uint8_t* data, std::size_t size)
        : left_(size == 0 ? std::string_view() : std::string_view(reinterpret_cast<const char*>(data), size)) {}

    [[nodiscard]] bool empty() const { return left_.empty(); }

    // The next byte, 0 at the end.
    unsigned choice() { return left_.empty() ? 0 : static_cast<unsigned char>(take(1).front()); }

    std::string bytes(std::size_t count) { return std::string(take(std::min(count, left_.size()))); }

    // Returns the bytes before the next zero byte, or the rest.
    std::string text() {
        const std::size_t length = std::min(left_.find('\0'), left_.size());
        const std::string_view text = take(length);
        take(std::min<std::size_t>(1, left_.size()));
        return std::string(text);
    }

    std::string rest() { return std::string(take(left_.size())); }

  private:
    std::string_view take(std::size_t count) {
        const std::string_view taken = left_.substr(0, count);
        left_.remove_prefix(count);
        return taken;
    }

    std::string_view left_;
};
