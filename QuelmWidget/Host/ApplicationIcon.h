// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>

namespace quelm::host {

// The name under which the installation puts the brand mark into the icon theme.
inline constexpr auto applicationIconName = "dev.quelm.Quelm";

// The brand mark from the icon theme, or the copy built into the host where the theme lacks it
// (a program run from its build tree): the window icon is never empty.
QIcon applicationIcon();

}
