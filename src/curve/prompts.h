// What the core "shows" to the user goes through these ports; the window, the command-line
// tool and the tests each implement them.
#pragma once

#include <string>
#include <vector>

namespace kelvara {

inline constexpr const char* kAppTitle = "Tessaly Kelvara";

class Prompts {
  public:
    virtual ~Prompts() = default;
    // A message box with an OK button only.
    virtual void message(const std::string& text, const std::string& title = kAppTitle) = 0;
    // A Yes/No box whose default button is No; true for Yes.
    virtual bool ask_yes_no(const std::string& text) = 0;
};

// Records what was shown; answers questions from a queue (No when it runs dry).
class RecordingPrompts : public Prompts {
  public:
    struct Shown {
        std::string text;
        std::string title;
    };
    std::vector<Shown> shown;
    std::vector<std::string> questions;
    std::vector<bool> answers;

    void message(const std::string& text, const std::string& title = kAppTitle) override {
        shown.push_back({text, title});
    }
    bool ask_yes_no(const std::string& text) override {
        questions.push_back(text);
        if (answers.empty()) return false;
        bool a = answers.front();
        answers.erase(answers.begin());
        return a;
    }
    std::vector<std::string> texts() const {
        std::vector<std::string> out;
        for (const auto& s : shown) out.push_back(s.text);
        return out;
    }
};

// The refresh operations of the window: graph and grid.
class Views {
  public:
    virtual ~Views() = default;
    virtual void update_graph() {}
    virtual void update_graph_series2() {}
    // Scroll bar to its first position and display_grid_data(0).
    virtual void show_grid_from_top() {}
};

}  // namespace kelvara
