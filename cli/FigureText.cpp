#include "cli/FigureText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace velk::cli {

namespace {

constexpr double THOUSANDS_FROM = 10'000.0; ///< smaller powers keep their watts

bool isPower(const std::string& unit) {
    return unit == "W" || unit == "VA" || unit == "var" || unit == "Wh";
}

std::string withDecimals(double value, int decimals) {
    std::array<char, 400> text{}; // the largest double
    std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    std::string figure{text.data()};
    if (decimals != 0) {
        figure.erase(figure.find_last_not_of('0') + 1);
        if (figure.back() == '.') {
            figure.pop_back();
        }
    }
    return figure == "-0" ? "0" : figure;
}

std::string digits(double value) {
    const double size = std::abs(value);
    return withDecimals(value, size >= 999.5 ? 0 : size >= 1.0 ? 1 : 2);
}

} // namespace

std::string figureText(double value, const std::string& unit) {
    if (isPower(unit) && std::abs(value) >= THOUSANDS_FROM) {
        return digits(value / 1000.0) + " k" + unit;
    }
    return unit.empty() ? digits(value) : digits(value) + " " + unit;
}

std::string fourDigits(double value) {
    constexpr int mostDecimals = 9;
    const double size = std::abs(value);
    const int decimals = size > 0.0 ? 3 - static_cast<int>(std::floor(std::log10(size))) : 0;
    return withDecimals(value, std::clamp(decimals, 0, mostDecimals));
}

std::string durationText(std::int64_t seconds) {
    if (seconds < 120) {
        return std::to_string(seconds) + " s";
    }
    const std::int64_t minutes = seconds / 60;
    if (minutes < 120) {
        return std::to_string(minutes) + " min";
    }
    const std::string hours = std::to_string(minutes / 60) + " h";
    return minutes % 60 == 0 ? hours : hours + " " + std::to_string(minutes % 60) + " min";
}

} // namespace velk::cli
