#include "camera/neighbours/digital_io/output_commands.h"

#include <algorithm>
#include <cctype>

namespace camera
{

namespace
{

constexpr std::string_view WORD = "setdo ";
constexpr size_t MAX_DIGITS = 3;

enum class Reading { Whole, Incomplete, Wrong };

/** Reads what follows the word: a number, a blank, and one digit that is 0 or 1. */
Reading readArguments(std::string_view text, OutputCommand &command)
{
    size_t digits = 0;
    command.output = 0;
    while (digits < std::min(text.size(), MAX_DIGITS) && isdigit(static_cast<unsigned char>(text[digits])))
        command.output = command.output * 10 + (text[digits++] - '0');
    if (digits == text.size())
        return Reading::Incomplete;
    if (digits == 0 || text[digits] != ' ')
        return Reading::Wrong;
    if (digits + 1 == text.size())
        return Reading::Incomplete;
    const char state = text[digits + 1];
    command.on = state == '1';
    return state == '0' || state == '1' ? Reading::Whole : Reading::Wrong;
}

} // namespace

std::optional<OutputCommand> OutputCommands::next()
{
    for (;;) {
        const size_t at = waiting_.find(WORD);
        if (at == std::string::npos) {
            // The word may have begun.
            waiting_.erase(0, waiting_.size() - std::min(waiting_.size(), WORD.size() - 1));
            return std::nullopt;
        }
        waiting_.erase(0, at);
        OutputCommand command = {};
        const Reading reading = readArguments(std::string_view(waiting_).substr(WORD.size()), command);
        if (reading == Reading::Incomplete)
            return std::nullopt;
        // The next word ends a wrong command, or follows a right one.
        waiting_.erase(0, WORD.size());
        if (reading == Reading::Whole)
            return command;
    }
}

} // namespace camera
