// SPDX-License-Identifier: MIT
#include "Views/RenderTransition.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>

namespace quelm::views {

namespace detail {

// Layouts place nodes on fractional points; closer than this is the same place.
constexpr double samePlaceTolerance = 0.5;

struct Located {
    const ViewNode* node = nullptr;
    RenderTransition::NodePath path;
};

// Texts and symbols keyed by where they stand: inside a row, by the row's identity and the path
// within it, so that a row that moved or had another inserted above it is not taken for a changed
// one; outside rows, by the path from the root.
struct Keyed {
    std::map<std::string, Located> byKey;
    std::vector<std::string> order;
};

void collect(const ViewNode& node, RenderTransition::NodePath& path, std::string key, Keyed& out)
{
    if (const auto* row = node.as<node::Row>())
        key = "row:" + std::to_string(static_cast<int>(row->kind)) + ':' + row->id;
    if (node.is<node::Text>() || node.is<node::Symbol>()) {
        const std::string full = key + '#' + std::string(node.typeName());
        if (out.byKey.emplace(full, Located { &node, path }).second)
            out.order.push_back(full);
    }
    for (std::size_t index = 0; index < node.children.size(); ++index) {
        path.push_back(index);
        collect(node.children[index], path, key + '/' + std::to_string(index), out);
        path.pop_back();
    }
}

Keyed collect(const ViewNode& root)
{
    Keyed out;
    RenderTransition::NodePath path;
    collect(root, path, std::string(), out);
    return out;
}

bool near(double a, double b)
{
    return std::abs(a - b) <= samePlaceTolerance;
}

bool sameFrame(const Frame& a, const Frame& b)
{
    return near(a.x, b.x) && near(a.y, b.y) && near(a.width, b.width) && near(a.height, b.height);
}

// The same line: a count may grow or shrink sideways ("9" → "10"), never move to another line.
bool sameLine(const Frame& a, const Frame& b)
{
    return near(a.y, b.y) && near(a.height, b.height) && a.x < b.maxX() && b.x < a.maxX();
}

Frame united(const Frame& a, const Frame& b)
{
    const double x = std::min(a.x, b.x);
    const double y = std::min(a.y, b.y);
    return { x, y, std::max(a.maxX(), b.maxX()) - x, std::max(a.maxY(), b.maxY()) - y };
}

std::vector<std::string_view> numbersIn(std::string_view text)
{
    std::vector<std::string_view> numbers;
    std::size_t index = 0;
    while (index < text.size()) {
        if (text[index] < '0' || text[index] > '9') {
            ++index;
            continue;
        }
        const std::size_t start = index;
        while (index < text.size() && text[index] >= '0' && text[index] <= '9')
            ++index;
        std::string_view digits = text.substr(start, index - start);
        while (digits.size() > 1 && digits.front() == '0')
            digits.remove_prefix(1);
        numbers.push_back(digits);
    }
    return numbers;
}

// Compares two runs of digits without leading zeros, however long.
int compareNumbers(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return a.size() < b.size() ? -1 : 1;
    return a.compare(b) < 0 ? -1 : (a == b ? 0 : 1);
}

ViewNode blanked(ViewNode root, const std::vector<const RenderTransition::NodePath*>& paths)
{
    for (const RenderTransition::NodePath* path : paths) {
        ViewNode* node = &root;
        for (const std::size_t index : *path)
            node = &node->children.at(index);
        // A spacer paints nothing and keeps the frame: nothing is laid out again.
        node->content = node::Spacer {};
        node->children.clear();
    }
    return root;
}

}

RenderTransition RenderTransition::between(const ViewNode& previous, const ViewNode& next)
{
    const detail::Keyed before = detail::collect(previous);
    const detail::Keyed after = detail::collect(next);
    RenderTransition transition;
    for (const std::string& key : after.order) {
        const auto found = before.byKey.find(key);
        if (found == before.byKey.end())
            continue;
        const detail::Located& old = found->second;
        const detail::Located& now = after.byKey.at(key);
        if (const auto* newText = now.node->as<node::Text>()) {
            const auto* oldText = old.node->as<node::Text>();
            if (!oldText || !oldText->numeric || !newText->numeric)
                continue;
            if (oldText->text == newText->text && oldText->shown == newText->shown)
                continue;
            if (!detail::sameLine(old.node->frame, now.node->frame))
                continue;
            transition.m_regions.push_back({ Kind::roll, detail::united(old.node->frame, now.node->frame),
                rollDirection(oldText->text, newText->text), 0, old.path, now.path });
        } else if (const auto* newSymbol = now.node->as<node::Symbol>()) {
            const auto* oldSymbol = old.node->as<node::Symbol>();
            if (!oldSymbol || oldSymbol->symbol == newSymbol->symbol)
                continue;
            if (!detail::sameFrame(old.node->frame, now.node->frame))
                continue;
            transition.m_regions.push_back({ Kind::replace, now.node->frame, Direction::up,
                std::max(oldSymbol->haloRadius, newSymbol->haloRadius), old.path, now.path });
        }
    }
    return transition;
}

ViewNode RenderTransition::previousBackground(const ViewNode& previous) const
{
    std::vector<const NodePath*> paths;
    for (const Region& region : m_regions)
        paths.push_back(&region.previousPath);
    return detail::blanked(previous, paths);
}

ViewNode RenderTransition::nextBackground(const ViewNode& next) const
{
    std::vector<const NodePath*> paths;
    for (const Region& region : m_regions)
        paths.push_back(&region.nextPath);
    return detail::blanked(next, paths);
}

RenderTransition::Direction RenderTransition::rollDirection(std::string_view previous, std::string_view next)
{
    const auto before = detail::numbersIn(previous);
    const auto after = detail::numbersIn(next);
    for (std::size_t index = 0; index < std::min(before.size(), after.size()); ++index) {
        const int order = detail::compareNumbers(before[index], after[index]);
        if (order != 0)
            return order < 0 ? Direction::up : Direction::down;
    }
    return Direction::up;
}

}
