#include "CommandLine.h"

#include <algorithm>
#include <charconv>
#include <iostream>

CommandLine::CommandLine(int argc, char** argv, int first) {
    for (int i = first; i < argc; ++i)
        m_args.emplace_back(argv[i]);
}

bool CommandLine::takeFlag(std::string_view name) {
    auto it = std::find(m_args.begin(), m_args.end(), name);
    if (it == m_args.end())
        return false;
    m_args.erase(it);
    return true;
}

bool CommandLine::takeValue(std::string_view name, std::string& value) {
    auto it = std::find(m_args.begin(), m_args.end(), name);
    if (it == m_args.end())
        return false;
    if (it + 1 == m_args.end()) {
        m_error = "option " + std::string(name) + " needs a value";
        m_args.erase(it);
        return false;
    }
    value = *(it + 1);
    m_args.erase(it, it + 2);
    return true;
}

std::vector<std::string> CommandLine::takeValues(std::string_view name) {
    std::vector<std::string> values;
    std::string value;
    while (takeValue(name, value))
        values.push_back(value);
    return values;
}

std::vector<std::string> CommandLine::operands() {
    for (const std::string& arg : m_args) {
        if (arg.size() > 1 && arg[0] == '-' && m_error.empty())
            m_error = "unknown option " + arg;
    }
    return m_args;
}

bool parseIndex(const std::string& text, int& value) {
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    return ec == std::errc() && end == text.data() + text.size() && value >= 0;
}

void printError(std::string_view message) {
    std::cerr << "xmldsig: " << message << '\n';
}
