#include "tools/torvane/cli/Values.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

namespace torvane {
namespace {

constexpr std::size_t kMd5Digits = 32;

// The last of the names, which is the long one.
std::string NameOf(std::string const& names) {
    return names.substr(names.rfind(',') + 1);
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsHexDigit(char c) {
    return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

template <class Number>
bool Parse(std::string const& text, Number& number) {
    char const* const end = text.data() + text.size();
    auto const [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end;
}

template <class Number>
void Take(std::string const& name, std::string const& text, bool is_written_so, Number least, Number most,
          Number& value) {
    Number number{};
    if (is_written_so && Parse(text, number) && number >= least && number <= most) {
        value = number;
        return;
    }
    throw CLI::ValidationError(name, fmt::format("'{}' is no number from {} to {}", text, least, most));
}

bool IsCount(std::string const& text) {
    return std::all_of(text.begin(), text.end(), IsDigit);
}

bool IsSeconds(std::string const& text) {
    bool const plain = std::all_of(text.begin(), text.end(), [](char c) { return IsDigit(c) || c == '.'; });
    return plain && std::count(text.begin(), text.end(), '.') <= 1;
}

}  // namespace

CLI::Option* AddCount(CLI::App& command, std::string const& names, std::uint64_t& value, char const* description,
                      std::uint64_t least, std::uint64_t most) {
    auto const take = [name = NameOf(names), &value, least, most](std::string const& text) {
        Take(name, text, IsCount(text), least, most, value);
    };
    return command.add_option_function<std::string>(names, take, description)->type_name("N");
}

CLI::Option* AddSeconds(CLI::App& command, std::string const& names, double& value, char const* description,
                        double least, double most) {
    auto const take = [name = NameOf(names), &value, least, most](std::string const& text) {
        Take(name, text, IsSeconds(text), least, most, value);
    };
    return command.add_option_function<std::string>(names, take, description)->type_name("S");
}

CLI::Option* AddMd5(CLI::App& command, std::string& value) {
    auto const take = [&value](std::string const& text) {
        if (text.size() != kMd5Digits || !std::all_of(text.begin(), text.end(), IsHexDigit))
            throw CLI::ValidationError("--md5",
                                       fmt::format("'{}' is no MD5 of {} hexadecimal digits", text, kMd5Digits));
        value = text;
    };
    return command.add_option_function<std::string>("--md5", take, "MD5 of the file's content, which is not read then")
        ->type_name("MD5");
}

CLI::Option* AddFilled(CLI::App& command, std::string const& names, std::string& value, char const* description) {
    auto const take = [name = NameOf(names), &value](std::string const& text) {
        if (text.empty()) throw CLI::ValidationError(name, "the value is empty");
        value = text;
    };
    return command.add_option_function<std::string>(names, take, description);
}

}  // namespace torvane
