#pragma once

#include "Entry.h"
#include "Provider.h"
#include "QuelmWidgetConfiguration.h"
#include "WidgetContent.h"
#include "WidgetFamily.h"

#include <quelm/SharedConstants.h>

#include <array>
#include <span>
#include <string_view>

namespace quelm {

// What the widget shows for one entry, described without a toolkit: the Qt views build their
// QuelmWidgetView from exactly this. `family` is the family whose layout and size the view takes.
struct WidgetView {
    WidgetFamily family = WidgetFamily::systemLarge;
    Entry entry;
    WidgetContent content;

    bool operator==(const WidgetView&) const = default;
};

// The one widget the extension offers, and how a host joins its pieces: every placed instance
// carries its own configuration intent, asks the provider for its entries and draws each entry
// with the view factory. A host reads the kind, names and families from here and nowhere else.
struct QuelmWidget {
    using Configuration = QuelmWidgetConfiguration;
    using ViewFactory = WidgetView (*)(const Entry&, WidgetFamily);

    static constexpr std::string_view kind = SharedConstants::widgetKind;
    static constexpr std::string_view configurationDisplayName = "Quelm";
    static constexpr std::string_view description = "O que está rodando na sua máquina, com iniciar e parar.";
    static constexpr std::array supportedFamilies {
        WidgetFamily::systemSmall,
        WidgetFamily::systemMedium,
        WidgetFamily::systemLarge,
        WidgetFamily::systemExtraLarge,
    };

    Provider provider;
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
    static WidgetView view(const Entry& entry, WidgetFamily family);
};

// The extension's entry point: its body is exactly one widget. A host is handed the bundle and
// calls into it on its own schedule.
class QuelmWidgetBundle {
public:
    explicit QuelmWidgetBundle(Provider provider = Provider())
        : m_widget { std::move(provider) }
    {
    }

    std::span<const QuelmWidget, 1> body() const { return std::span<const QuelmWidget, 1>(&m_widget, 1); }
    const QuelmWidget& widget() const { return m_widget; }

private:
    QuelmWidget m_widget;
};

}
