// SPDX-License-Identifier: MIT
#include "Layout/FamilyComposition.h"

namespace quelm {

LocalizedText WidgetSection::title() const
{
    switch (rows) {
    case Rows::sessions:
        return { "Claude" };
    case Rows::groups:
        return { "Grupos" };
    case Rows::items:
        break;
    }
    return { "Itens" };
}

std::vector<WidgetSection> FamilyComposition::largeSections() const
{
    std::vector<WidgetSection> sections = extraLargeLeftSections();
    if (hasItems)
        sections.push_back({ WidgetSection::Rows::items });
    return sections;
}

std::vector<WidgetSection> FamilyComposition::extraLargeLeftSections() const
{
    std::vector<WidgetSection> sections;
    if (hasSessions)
        sections.push_back({ WidgetSection::Rows::sessions });
    if (hasGroups)
        sections.push_back({ WidgetSection::Rows::groups });
    return sections;
}

}
