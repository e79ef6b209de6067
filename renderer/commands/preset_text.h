// The text of a flare preset, as the reader of flares takes it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orvane::commands {

struct PresetFault {
    int line, column;         // from 1, in bytes
    std::string_view source;  // the line, in the text
    bool is_error;            // else a warning
    std::string what, hint;
};

// All that the reader would refuse, ignore or not draw, in the order of the text. The reader
// takes whatever it finds, so an error is what loses a part of the flare or all of it:
//
//   - a line above 1024 bytes, a last line without newline, a zero byte, which hides what
//     follows on its line;
//   - no FLARE_START, one with a version above 1 or none, a keyword before it, no FLARE_END;
//   - a first word that is nearly a keyword; numbers that are missing (but for the parameter of
//     profiles that have none), that are no numbers or not finite, that lead outside of the table
//     of rays, sides below 1, a profile that does not exist.
//
// A warning is what is ignored and may be meant so: other first words (those that begin with #
// or // are comments), more numbers than the keyword takes, a fraction where an integer is read, a
// second FLARE_START, text after FLARE_END.
std::vector<PresetFault> preset_faults(std::string_view text);

// The text in the bytes of a carrier: up to the first zero byte behind the line FLARE_END, or,
// without this line, all but the zero bytes at the end.
std::string_view text_in(std::string_view bytes);

}  // namespace orvane::commands
