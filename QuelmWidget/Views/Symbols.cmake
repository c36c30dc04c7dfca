# SPDX-License-Identifier: MIT
# The symbols the widget draws, each under its catalogue name, and the file of the filled
# Phosphor icon set (npm package @phosphor-icons/core, pinned in package-lock.json) that stands
# in for it. This table is the only place that knows the mapping: the build copies exactly these
# files into the views' Qt resource as ":/quelm/symbols/<name>.svg".
set(QUELM_SYMBOLS
    "leaf.fill=leaf-fill"
    "play.fill=play-fill"
    "stop.fill=stop-fill"
    "shippingbox.fill=package-fill"
    "helm=steering-wheel-fill"
    "cylinder.fill=database-fill"
    "dot.radiowaves.left.and.right=broadcast-fill"
    "circle.hexagongrid.fill=hexagon-fill"
    "square.stack.3d.up.fill=stack-fill"
    "sparkle=sparkle-fill"
    "exclamationmark.bubble.fill=chat-circle-dots-fill"
)
