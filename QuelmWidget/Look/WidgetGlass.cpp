// SPDX-License-Identifier: MIT
#include "Look/WidgetGlass.h"

#include "Look/WidgetGlyph.h"

#include <algorithm>
#include <string_view>

namespace quelm {

std::vector<Color> WidgetGlass::glows(const WidgetSnapshot& snapshot)
{
    std::vector<Color> result;
    const bool awaitsApproval = std::any_of(snapshot.sessions.begin(), snapshot.sessions.end(),
        [](const WidgetSession& session) { return session.state == WidgetSession::State::needsApproval; });
    if (awaitsApproval)
        result.push_back(Color::of(Color::Named::orange));

    // The distinct categories of the running items, in order of first appearance.
    std::vector<std::string_view> categories;
    for (const WidgetItem& item : snapshot.items) {
        if (item.isRunning && std::find(categories.begin(), categories.end(), item.category) == categories.end())
            categories.push_back(item.category);
    }
    std::stable_sort(categories.begin(), categories.end(),
        [](std::string_view a, std::string_view b) { return WidgetGlyph::rank(a) < WidgetGlyph::rank(b); });
    for (std::string_view category : categories)
        result.push_back(WidgetGlyph::tint(category));
    return result;
}

RadialGlow WidgetGlass::glowLayer(const Color& glow, std::size_t position)
{
    if (position == 0)
        return { glow, 0.34, GlassCorner::bottomTrailing, 0, 190 };
    return { glow, 0.25, GlassCorner::bottomLeading, 0, 280 };
}

std::vector<RadialGlow> WidgetGlass::glowLayers(const std::vector<Color>& glows)
{
    std::vector<RadialGlow> layers;
    const std::size_t count = std::min(glows.size(), maximumGlowLayers);
    layers.reserve(count);
    for (std::size_t position = 0; position < count; ++position)
        layers.push_back(glowLayer(glows[position], position));
    return layers;
}

}
