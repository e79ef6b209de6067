// Checking the text of a preset.

#include "commands/preset_text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <optional>
#include <utility>

#include "scene/errors.h"

namespace orvane::commands {
namespace {

constexpr std::size_t kLineLength = 1024;  // bytes, the newline included
constexpr std::string_view kWhite = " \t\n\v\f\r";

struct Keyword {
    std::string_view name;
    std::array<std::string_view, 13> numbers;  // in order; those behind the last are empty
    double rays = 0;                           // that the keyword can take from the table

    std::size_t count() const {
        return static_cast<std::size_t>(std::ranges::find(numbers, "") - numbers.begin());
    }
};

constexpr Keyword kKeywords[] = {
    {"CIRCLE",
     {"red", "green", "blue", "axis position a", "axis position b", "radius", "profile mode",
      "profile parameter"}},
    {"CIRCLE_D",
     {"red", "green", "blue", "anchor x", "anchor y", "pull a", "pull b", "radius", "profile mode",
      "profile parameter"}},
    {"NGON",
     {"red", "green", "blue", "axis position a", "axis position b", "apothem", "rotation a",
      "rotation b", "sides", "profile mode", "profile parameter"}},
    {"NGON_D",
     {"red", "green", "blue", "anchor x", "anchor y", "pull a", "pull b", "apothem", "rotation a",
      "rotation b", "sides", "profile mode", "profile parameter"}},
    {"SECTOR",
     {"red", "green", "blue", "axis position", "rotation a", "rotation b", "size", "inner width",
      "outer width", "spread", "ray count", "profile mode", "profile parameter"},
     191},
    {"RAYS",
     {"red", "green", "blue", "axis position", "rotation a", "rotation b", "size", "inner width",
      "outer width", "ray count", "first ray", "profile mode", "profile parameter"},
     200},
    {"FLARE_START", {"version"}},
    {"FLARE_END", {}},
};

// By mode: whether a profile exists (.), and has a parameter (p).
constexpr std::string_view kProfiles = "...ppp.p..pp  pp";

struct Word {
    std::string_view text;
    int column;
};

// The words of a line, as far as its reader sees it: to the first zero byte.
std::vector<Word> words_of(std::string_view line) {
    line = line.substr(0, line.find('\0'));
    std::vector<Word> words;
    for (std::size_t at = 0; (at = line.find_first_not_of(kWhite, at)) != line.npos;) {
        const std::size_t end = std::min(line.find_first_of(kWhite, at), line.size());
        words.push_back({line.substr(at, end - at), static_cast<int>(at) + 1});
        at = end;
    }
    return words;
}

bool is_comment(const Word& word) {
    return word.text.starts_with('#') || word.text.starts_with("//");
}

// "sides of NGON"
std::string name_of(const Keyword& keyword, std::size_t number) {
    return std::string(keyword.numbers[number]) + " of " + std::string(keyword.name);
}

const Keyword* find_keyword(std::string_view word) {
    const auto* found = std::ranges::find(kKeywords, word, &Keyword::name);
    return found == std::end(kKeywords) ? nullptr : found;
}

// A name in quotes, fit for a message.
std::string quoted(std::string_view word) {
    std::string text(word.substr(0, 40));
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' ' || c == 127; }, '?');
    return '"' + text + (word.size() > 40 ? "...\"" : "\"");
}

std::string text_of(double number) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g", number);
    return text.data();
}

// The word as a 32-bit number; nothing when it is none.
std::optional<double> number_in(std::string_view word) {
    const std::string text(word);
    char* end = nullptr;
    const float number = std::strtof(text.c_str(), &end);
    if (end != text.c_str() + text.size()) return {};
    return static_cast<double>(number);
}

std::string upper_case(std::string_view word) {
    std::string text(word);
    for (char& c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return text;
}

struct Number {
    double value;
    int column;
};

constexpr std::string_view kMode = "profile mode", kParameter = "profile parameter";

struct Range {
    double low, high;
};

// What a number may be that becomes an integer; nothing for other numbers. A run of rays may not
// leave the table: its first ray depends on their count, the number before.
std::optional<Range> range_of(const Keyword& keyword, std::string_view name, double before) {
    if (name == "sides") return Range{1, std::numeric_limits<int>::max()};
    if (name == kMode) return Range{0, kProfiles.size() - 1};
    if (name == "ray count") return Range{0, keyword.rays};
    if (name == "first ray") return Range{0, keyword.rays - std::clamp(before, 0.0, keyword.rays)};
    return {};
}

class Check {
  public:
    std::vector<PresetFault> faults;

    void take_line(std::string_view line, bool has_newline);
    void finish();

  private:
    enum class Part { BeforeStart, Inside, AfterEnd };

    void error(int column, const std::string& what, const std::string& hint = {}) {
        faults.push_back({line_, column, source_, true, what, hint});
    }
    void warn(int column, const std::string& what, const std::string& hint = {}) {
        faults.push_back({line_, column, source_, false, what, hint});
    }
    void take_unknown(const Word& word);
    void take_keyword(const Keyword& keyword, const std::vector<Word>& words);
    void take_start(const Keyword& keyword, const std::vector<Word>& words);
    std::vector<Number> numbers(const Keyword& keyword, const std::vector<Word>& words);
    void check_missing(const Keyword& keyword, const std::vector<Number>& values, const Word& last);
    void check_ranges(const Keyword& keyword, const std::vector<Number>& values);

    int line_ = 0;
    std::string_view source_;
    Part part_ = Part::BeforeStart;
    bool start_told_ = false, rest_told_ = false;
};

void Check::take_line(std::string_view line, bool has_newline) {
    ++line_;
    source_ = line;
    if (const std::size_t zero = line.find('\0'); zero != line.npos)
        error(static_cast<int>(zero) + 1, "a zero byte ends what is read of its line");
    const std::vector<Word> words = words_of(line);
    if (part_ == Part::AfterEnd) {
        if (!words.empty() && !std::exchange(rest_told_, true))
            warn(words[0].column, "text after FLARE_END is never read");
        return;
    }
    if (line.size() >= kLineLength)
        return error(kLineLength, "a line holds at most 1024 bytes, its newline included");
    if (words.empty()) return;
    if (!has_newline)
        error(static_cast<int>(line.size()) + 1, "the last line has no newline: it is never read");
    if (is_comment(words[0])) return;
    if (const Keyword* keyword = find_keyword(words[0].text)) return take_keyword(*keyword, words);
    take_unknown(words[0]);
}

// What is nearly a keyword was meant as one; anything else may be a remark.
void Check::take_unknown(const Word& word) {
    std::vector<std::string> names;
    for (const Keyword& keyword : kKeywords) names.emplace_back(keyword.name);
    const std::string hint = did_you_mean(upper_case(word.text), names);
    const std::string what = quoted(word.text) + " is no keyword: the line is ignored";
    if (hint.empty()) return warn(word.column, what, "a comment begins with #");
    error(word.column, what, hint + " (a comment begins with #)");
}

void Check::take_keyword(const Keyword& keyword, const std::vector<Word>& words) {
    if (keyword.name == "FLARE_START") return take_start(keyword, words);
    if (part_ == Part::BeforeStart && !std::exchange(start_told_, true))
        error(words[0].column,
              std::string(keyword.name) + " before FLARE_START: the preset is refused");
    check_ranges(keyword, numbers(keyword, words));
    if (keyword.name == "FLARE_END") part_ = Part::AfterEnd;
}

void Check::take_start(const Keyword& keyword, const std::vector<Word>& words) {
    if (part_ == Part::Inside) return warn(words[0].column, "a second FLARE_START is ignored");
    part_ = Part::Inside;
    for (const auto& [version, column] : numbers(keyword, words))
        if (version > 1)
            error(column, "version " + text_of(version) + " is not known: the latest is 1.0");
}

// The numbers of a line, up to those that the keyword takes or to the first fault.
std::vector<Number> Check::numbers(const Keyword& keyword, const std::vector<Word>& words) {
    const std::size_t count = keyword.count();
    std::vector<Number> values;
    for (std::size_t i = 1; i < words.size() && !is_comment(words[i]); ++i) {
        const auto& [text, column] = words[i];
        if (values.size() == count) {
            warn(column, std::string(keyword.name) + " takes " + std::to_string(count) +
                             (count == 1 ? " number" : " numbers") + ": what follows is ignored");
            return values;
        }
        const std::string name = name_of(keyword, values.size());
        const std::optional<double> number = number_in(text);
        if (!number) {
            error(column, name + ": " + quoted(text) + " is not a number");
            return values;
        }
        if (!std::isfinite(*number)) error(column, name + " is not finite");
        values.push_back({*number, column});
    }
    if (values.size() < count) check_missing(keyword, values, words[values.size()]);
    return values;
}

// Profiles without parameter need none; else what is missing would be read as 0.
void Check::check_missing(const Keyword& keyword, const std::vector<Number>& values,
                          const Word& last) {
    if (keyword.numbers[values.size()] == kParameter) {
        const double mode = std::trunc(values.back().value);
        if (!(mode >= 0 && mode < 16) || kProfiles[static_cast<std::size_t>(mode)] != 'p') return;
    }
    error(last.column + static_cast<int>(last.text.size()),
          name_of(keyword, values.size()) + " is missing: there are " +
              std::to_string(values.size()) + " of " + std::to_string(keyword.count()) +
              " numbers");
}

// Looks at the numbers that become integers, truncated towards zero.
void Check::check_ranges(const Keyword& keyword, const std::vector<Number>& values) {
    double before = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto& [value, column] = values[i];
        const std::string_view name = keyword.numbers[i];
        const std::optional<Range> range = range_of(keyword, name, std::exchange(before, value));
        if (!range || !std::isfinite(value)) continue;
        const double number = std::trunc(value);
        const std::string is = name_of(keyword, i) + " is " + text_of(value) + ": ";
        if (number < range->low) {
            error(column, is + "at least " + text_of(range->low) + " is needed");
        } else if (number > range->high) {
            error(column, is + "at most " + text_of(range->high) + " is possible");
        } else if (name == kMode && kProfiles[static_cast<std::size_t>(number)] == ' ') {
            error(column, is + "there is no such profile");
        } else if (number != value) {
            warn(column, is + "it is read as " + text_of(number));
        }
    }
}

void Check::finish() {
    line_ = std::max(line_, 1);
    const int behind = static_cast<int>(source_.size()) + 1;
    if (part_ == Part::BeforeStart && !start_told_) error(behind, "there is no FLARE_START");
    if (part_ != Part::AfterEnd) error(behind, "there is no FLARE_END");
}

// Calls take(line, has_newline) with the lines of a text, which hold no newlines, until it
// returns false.
template <typename Take>
void for_lines(std::string_view text, const Take& take) {
    while (!text.empty()) {
        const std::size_t newline = text.find('\n');
        const bool has_newline = newline != text.npos;
        if (!take(text.substr(0, newline), has_newline)) return;
        text.remove_prefix(has_newline ? newline + 1 : text.size());
    }
}

}  // namespace

std::vector<PresetFault> preset_faults(std::string_view text) {
    Check check;
    for_lines(text, [&](std::string_view line, bool has_newline) {
        check.take_line(line, has_newline);
        return true;
    });
    check.finish();
    std::ranges::stable_sort(check.faults, {}, [](const PresetFault& fault) {
        return std::pair(fault.line, fault.column);
    });
    return std::move(check.faults);
}

std::string_view text_in(std::string_view bytes) {
    std::string_view end;
    for_lines(bytes, [&](std::string_view line, bool) {
        const std::vector<Word> words = words_of(line);
        if (!words.empty() && words[0].text == "FLARE_END") end = line;
        return end.empty();
    });
    if (end.empty()) return bytes.substr(0, bytes.find_last_not_of('\0') + 1);
    const auto behind = static_cast<std::size_t>(end.data() - bytes.data()) + end.size();
    return bytes.substr(0, bytes.find('\0', behind));
}

}  // namespace orvane::commands
