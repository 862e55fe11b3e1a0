#include "Support/Figures.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace Figures {

namespace {

constexpr std::size_t rounds = 5;

std::string number(const char* format, double value) {
    char text[32];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}

std::string quantity(double value, const std::string& unit, bool isSigned = false) {
    const double size = std::abs(value);
    const char* const format = unit.empty() || size < 1 ? "%.2f" : size < 1000 ? "%.1f" : "%.0f";
    std::string text = isSigned && value >= 0 ? "+" : "";
    text += number(format, value);
    return unit.empty() ? text : text + ' ' + unit;
}

std::string cell(std::string text, std::ptrdiff_t width) {
    // What people see as a character may be several bytes, of which all but the first are continuations.
    const auto shown = std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; });
    text.append(static_cast<std::size_t>(std::max<std::ptrdiff_t>(width - shown, 0)), ' ');
    return "| " + text + ' ';
}

/// The median of a round's share of the values.
double medianOfRound(const std::vector<double>& values, std::size_t round) {
    const auto at = [&](std::size_t number) {
        return values.begin() + static_cast<std::ptrdiff_t>(values.size() * number / rounds);
    };
    return median(std::vector<double>(at(round), at(round + 1)));
}

}  // namespace

Row ofRuns(std::string what, const std::vector<double>& figures, std::string peer, const std::vector<double>& peers,
           std::string unit, std::optional<double> atMost) {
    Row row{std::move(what), median(figures), std::move(peer), median(peers), std::move(unit), atMost, {}};
    if (std::min(figures.size(), peers.size()) >= rounds)
        for (std::size_t round = 0; round < rounds; ++round)
            row.ratios.push_back(medianOfRound(figures, round) / medianOfRound(peers, round));
    return row;
}

void print(const Row& row) {
    const bool areLong = row.unit == "µs" && std::min(row.figure, row.beside) >= 10'000;
    const double scale = areLong ? 1e-3 : 1;
    const std::string unit = areLong ? "ms" : row.unit;
    // Nothing is all of nothing: where the limit is none at all, none keeps to it and any more does not.
    const double ratio = !row.ratios.empty()        ? median(row.ratios)
                         : row.figure == row.beside ? 1
                                                    : row.figure / row.beside;
    // A small part of the peer needs a digit more.
    const char* const format = row.atMost && *row.atMost < 1 ? "%.3f" : "%.2f";
    std::string range;
    if (!row.ratios.empty()) {
        const auto [least, greatest] = std::minmax_element(row.ratios.begin(), row.ratios.end());
        range = number(format, *least) + " – " + number(format, *greatest);
    }
    std::string line = cell(row.what, 56);
    line += cell(quantity(row.figure * scale, unit), 17);
    line += cell(row.besideWhat + ": " + quantity(row.beside * scale, unit), 67);
    line += cell(quantity((row.figure - row.beside) * scale, unit, true), 17);
    line += cell(number(format, ratio), 5);
    line += cell(range, 13);
    line += cell(row.atMost ? "≤ " + number(format, *row.atMost) : "", 8);
    line += cell(!row.atMost ? "" : ratio <= *row.atMost ? "yes" : "**no**", 7);
    std::printf("%s|\n", line.c_str());
    std::fflush(stdout);
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 == 1) return *middle;
    return (*middle + *std::max_element(values.begin(), middle)) / 2;
}

}  // namespace Figures
