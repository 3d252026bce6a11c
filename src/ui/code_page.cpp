#include "ui/code_page.h"

#include <array>
#include <optional>

namespace kelvara::ui {

namespace {

// Characters of the bytes 0x80..0x9F; the unassigned ones keep their own number.
constexpr std::array<char16_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

std::optional<char> byte_of(char16_t c) {
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) return static_cast<char>(c);
    for (std::size_t i = 0; i < kHighControls.size(); ++i)
        if (kHighControls[i] == c) return static_cast<char>(0x80 + i);
    return std::nullopt;
}

}  // namespace

QString from_code_page(std::string_view bytes) {
    QString text;
    text.reserve(static_cast<qsizetype>(bytes.size()));
    for (char ch : bytes) {
        const auto b = static_cast<unsigned char>(ch);
        text.append(QChar(b >= 0x80 && b < 0xA0 ? kHighControls[b - 0x80] : char16_t(b)));
    }
    return text;
}

std::string to_code_page(const QString& text) {
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(text.size()));
    for (QChar c : text) bytes.push_back(byte_of(c.unicode()).value_or('?'));
    return bytes;
}

bool code_page_holds(const QString& text) {
    for (QChar c : text)
        if (!byte_of(c.unicode())) return false;
    return true;
}

QValidator::State CodePageValidator::validate(QString& input, int&) const {
    return code_page_holds(input) ? Acceptable : Invalid;
}

}  // namespace kelvara::ui
