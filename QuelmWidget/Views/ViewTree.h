// SPDX-License-Identifier: MIT
#pragma once

#include "Look/Color.h"
#include "Look/WidgetGlass.h"

#include <quelm/Date.h>

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quelm::views {

// The laid-out view tree: what the widget shows, node by node, in reading order. The builders
// (QuelmWidgetView and the row views) make it, LayoutEngine gives every node its frame, then
// TreePainter paints it and viewTreeJson dumps it. Units are points (device-independent pixels),
// origin at the widget's top-left corner.

struct Frame {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    constexpr double maxX() const { return x + width; }
    constexpr double maxY() const { return y + height; }
    constexpr bool contains(double px, double py) const { return px >= x && px < maxX() && py >= y && py < maxY(); }
    bool operator==(const Frame&) const = default;
};

struct Size {
    double width = 0;
    double height = 0;
    bool operator==(const Size&) const = default;
};

struct Insets {
    double top = 0;
    double leading = 0;
    double bottom = 0;
    double trailing = 0;

    static constexpr Insets all(double value) { return { value, value, value, value }; }
    bool operator==(const Insets&) const = default;
};

enum class FontWeight {
    regular,
    medium,
    semibold,
    bold,
};

struct Font {
    double size = 12;
    FontWeight weight = FontWeight::regular;
    bool operator==(const Font&) const = default;
};

enum class Axis {
    horizontal,
    vertical,
};

// Where a stack puts its children across its axis.
enum class CrossAlignment {
    start, // leading in a vertical stack, top in a horizontal one
    center,
};

enum class RowKind {
    item,
    group,
    session,
};

// One payload per node type.
namespace node {

struct Stack {
    Axis axis = Axis::vertical;
    double spacing = 0;
    CrossAlignment alignment = CrossAlignment::start;
    bool operator==(const Stack&) const = default;
};

// One line, or up to `lineLimit` lines wrapped at word boundaries. `shown` is `text` as it fits its
// frame (its lines joined by "\n", the last elided with "…" when the text is still too long); the
// layout fills it in. A `numeric` text (a count) rolls its digits when it changes between renders. A text
// `liveSince` a date holds the time since then ("5 min"), so whoever shows the tree draws it
// again when that next reads differently. Neither mark is part of the dump.
struct Text {
    std::string text;
    Font font;
    Color color;
    std::string shown {};
    bool numeric = false;
    std::optional<Date> liveSince {};
    int lineLimit = 1;
    bool operator==(const Text&) const = default;
};

// A symbol of the icon set, drawn at `pointSize` in `color` at `opacity`, with a soft shadow of
// radius `haloRadius` in `halo` when there is one.
struct Symbol {
    std::string symbol;
    Color color;
    double opacity = 1;
    std::optional<Color> halo {};
    double pointSize = 12;
    double haloRadius = 0;
    bool operator==(const Symbol&) const = default;
};

// The brand mark, painted in `color`; `accessibilityLabel` is what a screen reader says.
struct Mark {
    bool running = false;
    Color color;
    std::string accessibilityLabel;
    bool operator==(const Mark&) const = default;
};

// A round start/stop button; its one child is the symbol.
struct Button {
    std::string itemID;
    bool start = false;
    std::string symbol;
    bool enabled = true;
    Color fill;
    bool operator==(const Button&) const = default;
};

struct Link {
    std::string url;
    bool operator==(const Link&) const = default;
};

struct Row {
    RowKind kind = RowKind::item;
    std::string id;
    bool appearsRunning = false;
    bool busy = false;
    bool operator==(const Row&) const = default;
};

struct Section {
    std::string title;
    bool operator==(const Section&) const = default;
};

struct Message {
    std::string title;
    std::optional<std::string> subtitle {};
    bool operator==(const Message&) const = default;
};

// The widget's background; its children are laid out inside the content margins.
struct Glass {
    std::vector<RadialGlow> glows;
    bool operator==(const Glass&) const = default;
};

struct Divider {
    Color color;
    bool operator==(const Divider&) const = default;
};

struct Spacer {
    double minLength = 0;
    bool operator==(const Spacer&) const = default;
};

}

using NodeContent = std::variant<node::Stack, node::Text, node::Symbol, node::Mark, node::Button, node::Link, node::Row,
    node::Section, node::Message, node::Glass, node::Divider, node::Spacer>;

// How a node asks to be sized; read by the layout, not part of the dump.
struct Sizing {
    std::optional<double> width {};  // a fixed width
    std::optional<double> height {}; // a fixed height
    bool fillsWidth = false;         // takes all the width its parent offers
    Insets padding {};
    bool centersContent = false;     // its one child keeps its own size, centred
    bool coversMargins = false;      // a child of the glass laid over the whole widget
    bool operator==(const Sizing&) const = default;
};

struct ViewNode {
    NodeContent content;
    Sizing sizing {};
    std::vector<ViewNode> children {};
    Frame frame {};

    // "stack", "text", … as in the dump.
    std::string_view typeName() const;

    template<typename T>
    const T* as() const { return std::get_if<T>(&content); }
    template<typename T>
    T* as() { return std::get_if<T>(&content); }
    template<typename T>
    bool is() const { return std::holds_alternative<T>(content); }

    // Builders, one per type.
    static ViewNode stack(Axis, double spacing, CrossAlignment, std::vector<ViewNode> children);
    static ViewNode vstack(double spacing, std::vector<ViewNode> children) { return stack(Axis::vertical, spacing, CrossAlignment::start, std::move(children)); }
    static ViewNode hstack(double spacing, CrossAlignment alignment, std::vector<ViewNode> children) { return stack(Axis::horizontal, spacing, alignment, std::move(children)); }
    // A text keeps what `shownText` keeps of it: one line, no longer than a row can show.
    static ViewNode text(std::string text, Font, Color);
    static ViewNode numericText(std::string text, Font, Color);
    static ViewNode spacer(double minLength = 0);
    static ViewNode divider();
    static ViewNode wrapping(NodeContent, ViewNode child);

    ViewNode&& framed(std::optional<double> width, std::optional<double> height) &&;
    ViewNode&& fillingWidth() &&;
    ViewNode&& padded(Insets) &&;

    bool operator==(const ViewNode&) const = default;
};

// Depth-first, in reading order: every node for which `predicate` holds.
template<typename Predicate>
void collectNodes(const ViewNode& root, const Predicate& predicate, std::vector<const ViewNode*>& out)
{
    if (predicate(root))
        out.push_back(&root);
    for (const ViewNode& child : root.children)
        collectNodes(child, predicate, out);
}

template<typename T>
std::vector<const ViewNode*> nodesOfType(const ViewNode& root)
{
    std::vector<const ViewNode*> out;
    collectNodes(root, [](const ViewNode& node) { return node.is<T>(); }, out);
    return out;
}

// The innermost link or button under a point (what a click activates), or null.
const ViewNode* hitTarget(const ViewNode& root, double x, double y);

}
