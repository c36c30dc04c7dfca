// SPDX-License-Identifier: MIT
#pragma once

#include "Look/Color.h"

#include <QColor>

namespace quelm::views {

// Resolves the toolkit's named colours the way the widget always shows them: in the dark
// appearance, over its near-black glass. Only the accent follows the desktop.
//   primary white 0.85 · secondary white 0.55 · tertiary white 0.25 · secondaryFill white 0.12 ·
//   orange sRGB (1.0, 0.62, 0.04) · white · clear · accent (default sRGB (0.04, 0.52, 1.0))
// A named colour's own alpha multiplies the opacity of its name (accent at 0.5 is half as
// opaque as the accent).
class Palette {
public:
    static constexpr Color defaultAccent = Color::rgb(0.04, 0.52, 1.0);

    // The fixed look, with the default accent: what headless renders and tests use.
    Palette() = default;
    explicit Palette(Color accent);

    // The desktop palette's highlight as the accent when a real platform (not "offscreen" or
    // "minimal") provides one; the default accent otherwise. Needs a QGuiApplication.
    static Palette fromDesktop();

    Color accent() const { return m_accent; }

    // The colour at an extra `opacity`.
    QColor resolve(const Color&, double opacity = 1) const;

private:
    Color m_accent = defaultAccent;
};

}
