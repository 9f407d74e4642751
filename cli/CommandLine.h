#pragma once

#include <string>
#include <string_view>
#include <vector>

// Exit codes of the xmldsig command.
inline constexpr int kExitValid = 0;
inline constexpr int kExitInvalid = 1;
inline constexpr int kExitUsage = 2;

// The arguments after the command name, with option lookup.
class CommandLine {
public:
    CommandLine(int argc, char** argv, int first);

    // True when the flag is present (and removes it).
    bool takeFlag(std::string_view name);
    // The value after an option (and removes both); false when absent or the
    // value is missing (then error() is set).
    bool takeValue(std::string_view name, std::string& value);
    // Every value of a repeatable option, in order (removing them all).
    std::vector<std::string> takeValues(std::string_view name);
    // What is left once every option was taken: the operands. An argument
    // that still starts with "--" is an unknown option (error() is set).
    std::vector<std::string> operands();
    const std::string& error() const { return m_error; }

private:
    std::vector<std::string> m_args;
    std::string m_error;
};

// Reads a whole argument as a non-negative decimal index.
bool parseIndex(const std::string& text, int& value);

// Prints "xmldsig: <message>" on stderr.
void printError(std::string_view message);
