#pragma once

#include <string>
#include <string_view>

namespace kelvara {

// Next token of line at or after the 1-based position; separators are blank, tab, ",", CR and
// LF. The position is left on the separator that ended the token (or one past the end). When
// only separators remain, the result is the last separator examined (or "" if none) and the
// position moves past the end of the line.
std::string next_field(std::string_view line, int& position);

}  // namespace kelvara
