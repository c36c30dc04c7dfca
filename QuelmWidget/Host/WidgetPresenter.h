// SPDX-License-Identifier: MIT
#pragma once

#include "Host/WindowPlacement.h"

#include <QList>

namespace quelm::host {

class WidgetWindow;

// How the placed widgets reach the screen where Qt's own top-level windows cannot put them on the
// desktop. The host hands each widget window to the presenter before showing it; the window keeps
// painting and handling clicks as usual, the presenter decides where its pixels and the pointer's
// events come from.
class WidgetPresenter {
public:
    virtual ~WidgetPresenter() = default;

    // Takes charge of `window` before it is first shown; it lasts as long as the window.
    virtual void present(WidgetWindow& window) = 0;
    // The screens a widget may stand on, by name, with the area it may use; the first is where
    // new ones go.
    virtual QList<ScreenArea> screens() const = 0;
};

}
