#include "request_command/spelling.h"

#include <algorithm>
#include <array>
#include <limits>

#include "request_command/known_words.h"

namespace {

constexpr std::size_t most_edits = 2;

std::size_t difference(std::size_t one, std::size_t other) {
    return one > other ? one - other : other - one;
}

// toupper would depend on the locale; words are ASCII.
std::string in_upper_case(std::string_view text) {
    std::string result(text);
    for (char& letter : result) {
        if (letter >= 'a' && letter <= 'z') {
            letter = static_cast<char>(letter - 'a' + 'A');
        }
    }
    return result;
}

// Returns the edits from the given word, which is in upper case, to the known one; more than most_edits if not near.
std::size_t edits_between(const std::string& given, std::string_view known) {
    constexpr std::size_t far = most_edits + 1;
    if (difference(given.size(), known.size()) > most_edits) {
        return far;
    }
    const std::size_t edits = edit_distance(given, in_upper_case(known));
    return edits <= std::min(most_edits, known.size() / 2) ? edits : far;
}

std::string alternatives(const std::vector<std::string_view>& words) {
    std::string text;
    for (const std::string_view word : words) {
        text += (text.empty() ? "" : " or ") + std::string(word);
    }
    return text;
}

void remark(std::string_view given, const std::string& kind, const std::vector<std::string_view>& known,
            std::vector<std::string>& remarks) {
    const std::vector<std::string_view> nearest = nearest_words(given, known);
    if (!nearest.empty()) {
        remarks.push_back(std::string(given) + " is not a known " + kind + "; did you mean " + alternatives(nearest) +
                          "?");
    }
}

template <typename Rows>
std::vector<std::string_view> names_of(const Rows& rows) {
    std::vector<std::string_view> names(rows.size());
    std::transform(rows.begin(), rows.end(), names.begin(), [](const auto& row) { return row.name; });
    return names;
}

// The distances between the prefixes of two words: a row for each prefix of the one, a column for each of the other.
class EditTable {
  public:
    EditTable(std::string_view one, std::string_view other)
        : one_(one), other_(other), table_((one.size() + 1) * (other.size() + 1)) {
        for (std::size_t row = 0; row <= one.size(); ++row) {
            at(row, 0) = row;
        }
        for (std::size_t column = 0; column <= other.size(); ++column) {
            at(0, column) = column;
        }
    }

    std::size_t distance() {
        for (std::size_t row = 1; row <= one_.size(); ++row) {
            fill(row);
        }
        return table_.back();
    }

  private:
    std::size_t& at(std::size_t row, std::size_t column) { return table_[row * (other_.size() + 1) + column]; }

    std::size_t& last_row_of(char letter) { return last_rows_[static_cast<unsigned char>(letter)]; }

    void fill(std::size_t row) {
        std::size_t last_column = 0;  // where the other word last had this row's letter
        for (std::size_t column = 1; column <= other_.size(); ++column) {
            const bool same = one_[row - 1] == other_[column - 1];
            at(row, column) =
                std::min({at(row - 1, column) + 1, at(row, column - 1) + 1, at(row - 1, column - 1) + (same ? 0U : 1U),
                          by_exchange(row, column, last_column)});
            last_column = same ? column : last_column;
        }
        last_row_of(one_[row - 1]) = row;
    }

    // The distance when the last letters of both prefixes are swapped neighbours. Letters between them in either word
    // are removed or inserted.
    std::size_t by_exchange(std::size_t row, std::size_t column, std::size_t last_column) {
        const std::size_t last_row = last_row_of(other_[column - 1]);
        if (last_row == 0 || last_column == 0) {
            return row + column;
        }
        return at(last_row - 1, last_column - 1) + (row - last_row) + (column - last_column) - 1;
    }

    std::string_view one_;
    std::string_view other_;
    std::vector<std::size_t> table_;
    std::array<std::size_t, std::numeric_limits<unsigned char>::max() + 1> last_rows_{};
};

}  // namespace

std::size_t edit_distance(std::string_view one, std::string_view other) {
    return EditTable(one, other).distance();
}

std::vector<std::string_view> nearest_words(std::string_view given, const std::vector<std::string_view>& known) {
    if (is_one_of(given, known)) {
        return {};
    }
    const std::string letters = in_upper_case(given);
    std::vector<std::string_view> nearest;
    std::size_t least = most_edits;
    for (const std::string_view word : known) {
        const std::size_t edits = edits_between(letters, word);
        if (edits < least) {
            nearest.clear();
        }
        if (edits <= least) {
            least = edits;
            nearest.push_back(word);
        }
    }
    return nearest;
}

std::vector<std::string> spelling_remarks(const std::vector<std::string>& request) {
    std::vector<std::string> remarks;
    remark(request.front(), "request word", names_of(known_words), remarks);
    if (takes(request.front(), Takes::settings)) {
        const std::vector<std::string_view> categories = names_of(known_categories);
        for (std::size_t i = 1; i != request.size(); ++i) {
            const std::size_t colon = request[i].find(':');
            if (colon != std::string::npos) {
                remark(std::string_view(request[i]).substr(0, colon), "category", categories, remarks);
            }
        }
    }
    return remarks;
}
