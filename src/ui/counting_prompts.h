// Passes everything on to the window's prompts and counts the messages shown: an instrument
// procedure reports every failure with a message, so a transfer that showed none went through.
#pragma once

#include "curve/prompts.h"

namespace kelvara::ui {

class CountingPrompts : public Prompts {
  public:
    void forward_to(Prompts* prompts) { inner_ = prompts; }
    int messages() const { return messages_; }

    void message(const std::string& text, const std::string& title = kAppTitle) override {
        ++messages_;
        if (inner_) inner_->message(text, title);
    }
    bool ask_yes_no(const std::string& text) override {
        return inner_ ? inner_->ask_yes_no(text) : false;
    }

  private:
    Prompts* inner_ = nullptr;
    int messages_ = 0;
};

}  // namespace kelvara::ui
