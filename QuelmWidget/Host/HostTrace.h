// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace quelm::host {

// With QUELM_HOST_TRACE=1 the host writes one line per event to standard output, for the
// end-to-end tests and the benchmarks that drive it from outside:
//   window ID FAMILY X Y W H     where a widget's window stands (on show and after each move)
//   layer bottom X Y W H OUTPUT  under Wayland, where its layer surface stands (when mapped, after
//                                each move and on a new size), and on which output
//   layer drawn X Y              under Wayland, the first picture of a laid-out widget committed
//   layer entered X Y            under Wayland, the pointer came over a widget (widget points)
//   seat pointer                 under Wayland, the seat has a pointer and the host listens to it
//   menu shown X Y W H           under Wayland, a widget's menu popup is up there (layout pixels)
//   menu item X Y W H [* ]TEXT   one of its choices, "* " before the one that is checked
//   menu chosen CHOICE           a choice was clicked: edit, family FAMILY, remove, add or quit
//   menu closed                  the popup went (after a choice, or a click elsewhere)
//   render ID JSON               the view tree of each new render (as `render --format json`)
//   click ID X Y ACTION          a click in widget points, and what it does
//   pending ID ITEM MS           click → first repaint that shows ITEM busy, in milliseconds
//   intent ID ok|failed MESSAGE  how a toggle intent ended
// Silent otherwise; the host writes no log.
namespace HostTrace {

bool enabled();
void line(const QString&);

}

}
