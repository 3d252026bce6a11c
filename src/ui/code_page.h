// Names and serial numbers are bytes in the files' single-byte code page (Windows-1252, as the
// files written on Windows carry them); the window shows and takes them as text through this
// code page, so every byte a file holds is written back unchanged.
#pragma once

#include <QString>
#include <QValidator>
#include <string>
#include <string_view>

namespace kelvara::ui {

// Each byte as its character. The five bytes the code page leaves unassigned (0x81, 0x8D, 0x8F,
// 0x90, 0x9D) become the control characters of the same number, as Windows itself reads them,
// so they too come back as the bytes they were.
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
