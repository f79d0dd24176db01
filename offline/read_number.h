// Numbers on a command line.
#pragma once

#include <charconv>
#include <string_view>

/// The whole of `text` as a number from `low` to `high`. False for anything else, a NaN among it; `value` stays then.
template <typename Number>
bool ReadNumber(std::string_view text, Number low, Number high, Number& value) {
    Number number{};
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc{} || end != text.data() + text.size() || !(number >= low && number <= high)) {
        return false;
    }
    value = number;
    return true;
}
