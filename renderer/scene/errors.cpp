// Wording of scene errors: place, source line with a caret, spelling hints.
#include "scene/errors.h"

#include <algorithm>
#include <fstream>
#include <numeric>
#include <utility>

namespace orvane {

namespace {

constexpr int kShownColumns = 100;  // of a long source line, around the fault
constexpr std::size_t kLongestMisspelling = 100;

std::string source_line(const scene::Place& place) {
    std::ifstream file(*place.file, std::ios::binary);
    std::string line;
    for (int number = 0; number < place.line; ++number) {
        if (!std::getline(file, line)) return {};
    }
    return line;
}

// The line and a caret under the column; empty when the line cannot be read again.
std::string quote(const scene::Place& place) {
    const std::string line = source_line(place);
    if (line.empty() || place.column > static_cast<int>(line.size()) + 1) return {};
    return with_caret(line, place.column);
}

// Edits (insert, delete, replace, swap neighbours) that turn a into b.
std::size_t edit_distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> before, previous(b.size() + 1), row(b.size() + 1);
    std::iota(previous.begin(), previous.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replace = previous[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({previous[j] + 1, row[j - 1] + 1, replace});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                row[j] = std::min(row[j], before[j - 2] + 1);
            }
        }
        before = std::exchange(previous, row);
    }
    return previous[b.size()];
}

}  // namespace

std::string shorten_quotes(const std::string& text) {
    constexpr std::size_t kQuoted = 80, kWhole = 4000;
    std::string result;
    for (std::size_t at = 0; at < text.size() && result.size() < kWhole;) {
        const std::size_t open = std::min(text.find('"', at), text.size());
        result.append(text, at, open - at);
        if (open == text.size()) break;
        const std::size_t close = std::min(text.find('"', open + 1), text.size());
        std::size_t cut = close;
        if (close - open - 1 > kQuoted) {
            cut = open + 1 + kQuoted;
            while ((text[cut] & 0xC0) == 0x80) --cut;  // within a character of UTF-8
        }
        result.append(text, open, cut - open);
        if (cut < close) result += "\u2026";
        if (close < text.size()) result += '"';
        at = close + 1;
    }
    if (result.size() > kWhole) result.replace(kWhole, std::string::npos, "\u2026");
    return result;
}

std::string harmless(std::string text, bool one_line) {
    for (char& c : text)
        if (c == 127 || (static_cast<unsigned char>(c) < ' ' && (one_line || c != '\n'))) c = '?';
    return text;
}

std::string to_string(const scene::Place& place) {
    if (!place.file || place.line <= 0) return {};
    return *place.file + ":" + std::to_string(place.line) + ":" + std::to_string(place.column);
}

Error error_at(const scene::Place& place, Exit status, const std::string& what,
               const std::string& hint) {
    const std::string where = to_string(place);
    if (where.empty()) return {status, what, hint};
    std::string details = quote(place);
    if (!details.empty() && !hint.empty()) details += "\n";
    return {status, where + ": error: " + what, details + shorten_quotes(hint)};
}

Error outside(const scene::Place& place, const std::string& file) {
    return error_at(place, Exit::Input,
                    "\"" + file + "\" leads out of the folder of a scene that is not trusted");
}

std::string with_caret(std::string line, int column) {
    // Keep the part around the column of a line that is too long to show.
    const int begin = std::max(0, column - 1 - kShownColumns / 2);
    line = line.substr(static_cast<std::size_t>(begin), kShownColumns);
    for (char& c : line) {
        if (static_cast<unsigned char>(c) < ' ' || c == 127) c = ' ';
    }
    while (!line.empty() && line.back() == ' ') line.pop_back();
    return "  " + line + "\n  " + std::string(static_cast<std::size_t>(column - 1 - begin), ' ') +
           "^";
}

std::string nearest_name(const std::string& name, const std::vector<std::string>& candidates) {
    if (name.size() > kLongestMisspelling) return {};
    std::string nearest;
    std::size_t least = std::max<std::size_t>(1, name.size() / 3) + 1;
    for (const std::string& candidate : candidates) {
        if (candidate.size() >= name.size() + least || name.size() >= candidate.size() + least) {
            continue;
        }
        const std::size_t distance = edit_distance(name, candidate);
        if (distance >= least || distance >= candidate.size()) continue;
        least = distance;
        nearest = candidate;
    }
    return nearest;
}

std::string did_you_mean(const std::string& name, const std::vector<std::string>& candidates) {
    const std::string nearest = nearest_name(name, candidates);
    return nearest.empty() ? "" : "did you mean \"" + nearest + "\"?";
}

}  // namespace orvane
