#pragma once

namespace tarn::cli {

/// Keeps what is typed on the terminal of standard input from being shown, also by a signal that ends the
/// program meanwhile; nothing where standard input is no terminal. One at a time.
class HiddenInput {
public:
    /// Says `prompt` on standard error where there is somebody to read it.
    explicit HiddenInput(const char* prompt);
    ~HiddenInput();
    HiddenInput(const HiddenInput&) = delete;
    HiddenInput& operator=(const HiddenInput&) = delete;

private:
    bool isHiding_ = false;
};

}  // namespace tarn::cli
