// Hints about words that may be misspelt, and the distance of words.
//
// Input: words, each followed by a zero byte.
#include "request_command/spelling.h"

#include "request_command/known_words.h"
#include "tests/fuzz/fuzz_input.h"
#include "tests/fuzz/invariant.h"

namespace {

// The distance takes time that is the product of the lengths.
constexpr std::size_t longest_word = 40;
constexpr std::size_t most_words = 6;

void check_pair(const std::string& one, const std::string& other) {
    const std::size_t distance = edit_distance(one, other);
    INVARIANT(distance == edit_distance(other, one));
    INVARIANT((distance == 0) == (one == other));
    INVARIANT(distance <= std::max(one.size(), other.size()));
    INVARIANT(distance + std::min(one.size(), other.size()) >= std::max(one.size(), other.size()));
}

void check_three(const std::string& one, const std::string& two, const std::string& three) {
    check_pair(one, two);
    check_pair(two, three);
    INVARIANT(edit_distance(one, three) <= edit_distance(one, two) + edit_distance(two, three));
}

void check_nearest(const std::string& given) {
    const std::vector<std::string_view> known(category::all.begin(), category::all.end());
    for (const std::string_view word : nearest_words(given, known)) {
        INVARIANT(is_one_of(word, known));
        INVARIANT(!is_one_of(given, known));
        INVARIANT(word.size() <= given.size() + 2 && given.size() <= word.size() + 2);
    }
}

void check_remarks(const std::vector<std::string>& request) {
    const std::vector<std::string> remarks = spelling_remarks(request);
    INVARIANT(remarks.size() <= request.size());
    for (const std::string& remark : remarks) {
        INVARIANT(remark.find("; did you mean ") != std::string::npos && remark.ends_with("?"));
    }
    // There is no remark about a known word.
    if (find_row(known_words, request.front()) != nullptr && !takes(request.front(), Takes::settings)) {
        INVARIANT(remarks.empty());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    std::vector<std::string> words;
    do {
        words.push_back(input.text().substr(0, longest_word));
    } while (!input.empty() && words.size() != most_words);
    check_remarks(words);
    check_nearest(words.back());
    words.resize(std::max<std::size_t>(words.size(), 3));
    check_three(words[0], words[1], words[2]);
    return 0;
}
