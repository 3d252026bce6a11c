// Names and serial numbers are bytes in the curve files' single-byte code page (Windows-1252, as
// files written on Windows carry them). Everything that shows them as text, the window's fields
// and the graph's titles alike, goes through these two functions, so every byte a file holds
// reads the same everywhere and comes back unchanged.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelvara {

// Each byte as its character. The five bytes the code page leaves unassigned (0x81, 0x8D, 0x8F,
// 0x90, 0x9D) become the control characters of the same number, as Windows itself reads them,
// so they too come back as the bytes they were.
std::u16string code_page_text(std::string_view bytes);

// The byte of a character; none when the code page cannot hold it.
std::optional<char> code_page_byte(char16_t c);

}  // namespace kelvara
