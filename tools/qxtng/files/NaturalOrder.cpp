#include "NaturalOrder.h"

#include <algorithm>
#include <compare>

namespace Client {
namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

unsigned char Fold(char c) {
    return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
}

/// Takes the digits at the front, without leading zeros.
std::string_view TakeNumber(std::string_view& text) {
    const std::size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
    std::string_view digits = text.substr(0, end);
    text.remove_prefix(end);
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return digits;
}

std::strong_ordering CompareNumbers(std::string_view first, std::string_view second) {
    if (first.size() != second.size()) return first.size() <=> second.size();
    return first <=> second;
}

std::strong_ordering CompareNames(std::string_view first, std::string_view second) {
    while (!first.empty() && !second.empty()) {
        std::strong_ordering order = std::strong_ordering::equal;
        if (IsDigit(first[0]) && IsDigit(second[0])) {
            order = CompareNumbers(TakeNumber(first), TakeNumber(second));
        } else {
            order = Fold(first[0]) <=> Fold(second[0]);
            first.remove_prefix(1);
            second.remove_prefix(1);
        }
        if (order != 0) return order;
    }
    return first.size() <=> second.size();
}

/// Takes the first name of a path and the separator behind it.
std::string_view TakeName(std::string_view& path) {
    const std::size_t end = std::min(path.find('/'), path.size());
    const std::string_view name = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    return name;
}

}  // namespace

bool NaturalLess(std::string_view first, std::string_view second) {
    std::string_view firstRest = first;
    std::string_view secondRest = second;
    while (!firstRest.empty() && !secondRest.empty()) {
        const std::string_view firstName = TakeName(firstRest);
        const std::string_view secondName = TakeName(secondRest);
        if (firstRest.empty() != secondRest.empty()) return firstRest.empty();
        const std::strong_ordering order = CompareNames(firstName, secondName);
        if (order != 0) return order < 0;
        // Names that differ in case or zeros only: whole folders must still stay together.
        if (firstName != secondName) return firstName < secondName;
    }
    return first < second;
}

}  // namespace Client
