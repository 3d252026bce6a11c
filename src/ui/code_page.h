// The window's side of the files' code page (curve/code_page.h): names and serial numbers shown
// and taken as text, so every byte a file holds is written back unchanged.
#pragma once

#include <QString>
#include <QValidator>
#include <string>
#include <string_view>

namespace kelvara::ui {

// Each byte as its character (code_page_text).
QString from_code_page(std::string_view bytes);

// Each character as its byte; a character the code page cannot hold becomes "?" (the fields'
// validator keeps such characters out, so this is only a last defence).
std::string to_code_page(const QString& text);

// True when every character of the text has a byte in the code page.
bool code_page_holds(const QString& text);

// Refuses, as it is typed or pasted, text with a character the code page cannot hold.
class CodePageValidator : public QValidator {
    Q_OBJECT
  public:
    using QValidator::QValidator;
    State validate(QString& input, int& position) const override;
};

}  // namespace kelvara::ui
