// The command line on its way to the parser and back.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

// The arguments behind the program's name, last first as CLI11 wants them. Words that CLI11 would take apart, such as
// the file name "[a,b]", are marked; plain() takes the mark away.
std::vector<std::string> parser_arguments(std::span<char*> arguments);

// The word as it was typed.
std::string plain(std::string_view word);

// The same for a list of file names; standard input when it is empty.
std::vector<std::string> plain_files(const std::vector<std::string>& words);

// Replaces `text` by asterisks wherever it stands in the process's own arguments, so that a listing of processes
// stops showing it.
void hide_argument(std::span<char*> arguments, std::string_view text);

} // namespace tool
