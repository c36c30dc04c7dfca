// SPDX-License-Identifier: MIT
#pragma once

#include "Views/ViewTree.h"

#include <nlohmann/json.hpp>

namespace quelm::views {

// The dump of a laid-out tree: every node as {"type", "frame": {x, y, w, h}, its type's keys,
// "children" when it has any}. The type's keys:
//   stack {axis "h"|"v", spacing} · text {text (as shown), font {size, weight}, color} ·
//   symbol {symbol, color, opacity, halo (colour or null)} · mark {running} ·
//   button {itemID, start, symbol, enabled} · link {url} ·
//   row {kind "item"|"group"|"session", id, appearsRunning, busy} · section {title} ·
//   message {title, subtitle (or null)} · glass {glows: [{color, opacity, center, radius}]} ·
//   divider · spacer
// Colours are {"named": name} (with "a" when the name is used at another opacity) or explicit
// sRGB {r, g, b, a}. Lengths are rounded to thousandths of a point. Keys keep the order above, for people reading it.
nlohmann::ordered_json viewTreeJson(const ViewNode&);
nlohmann::ordered_json colorJson(const Color&);

}
