#include "curve/next_field.h"

namespace kelvara {

namespace {
bool is_separator(char c) {
    return c == ' ' || c == '\t' || c == ',' || c == '\r' || c == '\n';
}
}  // namespace

std::string next_field(std::string_view line, int& position) {
    const int length = static_cast<int>(line.size());
    int i = position < 1 ? 1 : position;
    std::string last;
    while (i <= length && is_separator(line[i - 1])) {
        last = std::string(1, line[i - 1]);
        ++i;
    }
    if (i > length) {
        position = length + 1;
        return last;
    }
    int start = i;
    while (i <= length && !is_separator(line[i - 1])) ++i;
    position = i;
    return std::string(line.substr(start - 1, i - start));
}

}  // namespace kelvara
