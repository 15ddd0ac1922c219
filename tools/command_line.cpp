#include "tools/command_line.hpp"

#include <CLI/CLI.hpp>
#include <utility>

namespace tool {

option option::required() const
{
    handle_->required();
    return *this;
}

option option::show_default() const
{
    handle_->capture_default_str();
    return *this;
}

option option::in_range(int least, int most) const
{
    handle_->check(CLI::Range(least, most));
    return *this;
}

option option::one_of(std::initializer_list<int> values) const
{
    handle_->check(CLI::IsMember(values));
    return *this;
}

option option::values(int least, int most) const
{
    handle_->expected(least, most);
    return *this;
}

option option::excludes(const option& other) const
{
    handle_->excludes(other.handle_);
    return *this;
}

option option::needs(const option& other) const
{
    handle_->needs(other.handle_);
    return *this;
}

bool option::given() const
{
    return handle_->count() != 0;
}

subcommand::subcommand(CLI::App& program, const std::string& name, const std::string& what)
    : handle_{program.add_subcommand(name, what)}
{
}

option subcommand::add(const std::string& names, std::string& variable, const std::string& help) const
{
    return option{handle_->add_option(names, variable, help)};
}

option subcommand::add(const std::string& names, std::vector<std::string>& variable, const std::string& help) const
{
    return option{handle_->add_option(names, variable, help)};
}

option subcommand::add(const std::string& names, int& variable, const std::string& help) const
{
    return option{handle_->add_option(names, variable, help)};
}

option subcommand::add_flag(const std::string& names, bool& variable, const std::string& help) const
{
    return option{handle_->add_flag(names, variable, help)};
}

void subcommand::add_notes(const std::string& notes) const
{
    handle_->footer(notes);
}

void subcommand::set_action(std::function<void()> action) const
{
    handle_->callback(std::move(action));
}

} // namespace tool
