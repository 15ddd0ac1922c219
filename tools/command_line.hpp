// Commands and their options on the command line. CLI11 does the work and stays behind command_line.cpp: a compiler takes
// several times as long to read it as to translate a command.
#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace tool {

// One option of a command. A handle: copies are the same option.
class option {
public:
    explicit option(CLI::Option* handle) noexcept : handle_{handle} {}

    option required() const;
    option show_default() const; // what its variable holds now
    option in_range(int least, int most) const;
    option one_of(std::initializer_list<int> values) const;
    option values(int least, int most) const; // so many of them
    option excludes(const option& other) const;
    option needs(const option& other) const;

    bool given() const;

private:
    CLI::Option* handle_;
};

// What is below the program's name. Variables are set when the command line is parsed, before the action runs, and have
// to live until then. A name without hyphens is one of arguments without an option.
class subcommand {
public:
    subcommand(CLI::App& program, const std::string& name, const std::string& what);

    option add(const std::string& names, std::string& variable, const std::string& help) const;
    option add(const std::string& names, std::vector<std::string>& variable, const std::string& help) const;
    option add(const std::string& names, int& variable, const std::string& help) const;
    option add_flag(const std::string& names, bool& variable, const std::string& help) const;
    void add_notes(const std::string& notes) const;
    void set_action(std::function<void()> action) const;

private:
    CLI::App* handle_;
};

} // namespace tool
