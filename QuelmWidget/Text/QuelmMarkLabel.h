// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace quelm {

// The accessibility label of the brand mark: while items run, the text
// "Quelm, com itens rodando", localised in the app's own translation for the current locale (not
// in the snapshot's language: a deliberate asymmetry); otherwise the plain "Quelm", never
// localised.
struct QuelmMarkLabel {
    std::string text;
    bool localized = false; // whether `text` is a key to translate in the current locale

    static QuelmMarkLabel forRunning(bool running);

    bool operator==(const QuelmMarkLabel&) const = default;
};

}
