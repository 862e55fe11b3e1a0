#include "Support/Figures.h"

#include <algorithm>
#include <cstdio>

namespace Figures {

namespace {

std::string number(const char* format, double value) {
    char text[32];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}

std::string cell(std::string text, std::ptrdiff_t width) {
    // What people see as a character may be several bytes, of which all but the first are continuations.
    const auto shown = std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; });
    text.append(static_cast<std::size_t>(std::max<std::ptrdiff_t>(width - shown, 0)), ' ');
    return "| " + text + ' ';
}

}  // namespace

void print(const Row& row) {
    // Nothing is all of nothing: where the limit is none at all, none keeps to it and any more does not.
    const double ratio = row.figure == row.beside ? 1 : row.figure / row.beside;
    std::string line = cell(row.what, 47);
    line += cell(number("%.1f ", row.figure) + row.unit, 10);
    line += cell(row.besideWhat + ": " + number("%.1f ", row.beside) + row.unit, 64);
    line += cell(number("%+.1f ", row.figure - row.beside) + row.unit, 10);
    // A small part of the peer needs a digit more.
    const bool isPart = row.atMost && *row.atMost < 1;
    line += cell(number(isPart ? "%.3f" : "%.2f", ratio), 5);
    line += cell(row.atMost ? number(isPart ? "≤ %.3f" : "≤ %.2f", *row.atMost) : "–", 8);
    line += cell(!row.atMost ? "–" : ratio <= *row.atMost ? "within" : "over", 7);
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
