// SPDX-License-Identifier: MIT
#pragma once

#include "Timeline/TimelineEntry.h"
#include "Timeline/TimelineProvider.h"
#include "Widget/QuelmWidgetConfiguration.h"
#include "Layout/WidgetContent.h"
#include "Widget/WidgetFamily.h"

#include <quelm/SharedConstants.h>

#include <array>
#include <string_view>

namespace quelm {

// What the widget shows for one entry, described without a toolkit: the Qt views build their
// QuelmWidgetView from exactly this. `family` is the family whose layout and size the view takes.
struct WidgetView {
    WidgetFamily family = WidgetFamily::large;
    TimelineEntry entry;
    WidgetContent content;

    bool operator==(const WidgetView&) const = default;
};

// The one widget Quelm offers, and how a host joins its pieces: every placed instance
// carries its own configuration intent, asks the provider for its entries and draws each entry
// with the view factory. A host reads the kind, names and families from here and nowhere else.
struct QuelmWidget {
    using Configuration = QuelmWidgetConfiguration;
    using ViewFactory = WidgetView (*)(const TimelineEntry&, WidgetFamily);

    static constexpr std::string_view kind = SharedConstants::widgetKind;
    static constexpr std::string_view configurationDisplayName = "Quelm";
    static constexpr std::string_view description = "O que está rodando na sua máquina, com iniciar e parar.";
    static constexpr std::array supportedFamilies {
        WidgetFamily::small,
        WidgetFamily::medium,
        WidgetFamily::large,
        WidgetFamily::extraLarge,
    };

    TimelineProvider provider;
    ViewFactory content = &QuelmWidget::view;

    static constexpr bool supports(WidgetFamily family)
    {
        for (const WidgetFamily supported : supportedFamilies) {
            if (supported == family)
                return true;
        }
        return false;
    }

    // The configuration of a newly placed instance: its parameters at their defaults.
    static Configuration makeConfiguration() { return Configuration(); }

    // The view of `entry` in `family`. A family the widget does not declare is drawn like the
    // large one, in the large size.
    static WidgetView view(const TimelineEntry& entry, WidgetFamily family);
};

// What the host is handed: the one widget Quelm offers. The host calls into it on its own schedule.
class QuelmWidgetBundle {
public:
    explicit QuelmWidgetBundle(TimelineProvider provider = TimelineProvider())
        : m_widget { std::move(provider) }
    {
    }

    const QuelmWidget& widget() const { return m_widget; }

private:
    QuelmWidget m_widget;
};

}
