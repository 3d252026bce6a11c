#include "ui/code_page.h"

#include "curve/code_page.h"

namespace kelvara::ui {

QString from_code_page(std::string_view bytes) {
    return QString::fromStdU16String(code_page_text(bytes));
}

std::string to_code_page(const QString& text) {
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(text.size()));
    for (QChar c : text) bytes.push_back(code_page_byte(c.unicode()).value_or('?'));
    return bytes;
}

bool code_page_holds(const QString& text) {
    for (QChar c : text)
        if (!code_page_byte(c.unicode())) return false;
    return true;
}

QValidator::State CodePageValidator::validate(QString& input, int&) const {
    return code_page_holds(input) ? Acceptable : Invalid;
}

}  // namespace kelvara::ui
