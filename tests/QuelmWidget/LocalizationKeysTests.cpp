// SPDX-License-Identifier: MIT
#include "Layout/FamilyComposition.h"
#include "Rows/GroupRow.h"
#include "Rows/ItemRow.h"
#include "Text/LocalizationKeys.h"
#include "Text/QuelmMarkLabel.h"
#include "Widget/QuelmWidgetConfiguration.h"
#include "Rows/SessionRow.h"
#include "Intent/ToggleItemIntent.h"
#include "Layout/WidgetContent.h"
#include "Rows/WidgetHeader.h"
#include "Widget/WidgetSortOrder.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

namespace quelm {
namespace {

struct Message {
    std::string source;
    std::string translation;
    std::string translationAttributes;
    std::vector<std::string> forms {};
};

std::string unescape(std::string_view text)
{
    static const std::pair<std::string_view, char> entities[] = {
        { "&amp;", '&' }, { "&lt;", '<' }, { "&gt;", '>' }, { "&quot;", '"' }, { "&apos;", '\'' }
    };
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        bool replaced = false;
        for (const auto& [entity, character] : entities) {
            if (text.substr(i).starts_with(entity)) {
                result += character;
                i += entity.size();
                replaced = true;
                break;
            }
        }
        if (!replaced)
            result += text[i++];
    }
    return result;
}

// The text between `<tag ...>` and `</tag>` at or after `from` within `text`, with the opening
// tag's attributes; advances `from` past the closing tag. None when there is no such element.
std::optional<std::pair<std::string, std::string>> element(std::string_view text, std::string_view tag, std::size_t& from)
{
    const std::string open = "<" + std::string(tag);
    std::size_t start = from;
    while (true) {
        start = text.find(open, start);
        if (start == std::string_view::npos)
            return std::nullopt;
        const char next = start + open.size() < text.size() ? text[start + open.size()] : '\0';
        if (next == '>' || next == ' ' || next == '\t' || next == '\n' || next == '/')
            break;
        start += open.size();
    }
    const std::size_t openEnd = text.find('>', start);
    if (openEnd == std::string_view::npos)
        return std::nullopt;
    std::string attributes(text.substr(start + open.size(), openEnd - start - open.size()));
    if (!attributes.empty() && attributes.back() == '/') {
        from = openEnd + 1;
        return std::pair { std::string(), attributes };
    }
    const std::string close = "</" + std::string(tag) + ">";
    const std::size_t closeStart = text.find(close, openEnd + 1);
    if (closeStart == std::string_view::npos)
        return std::nullopt;
    from = closeStart + close.size();
    return std::pair { std::string(text.substr(openEnd + 1, closeStart - openEnd - 1)), attributes };
}

// context name → messages of a Qt Linguist .ts file.
std::map<std::string, std::vector<Message>> readTranslations(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    std::stringstream buffer;
    buffer << stream.rdbuf();
    const std::string text = buffer.str();

    std::map<std::string, std::vector<Message>> contexts;
    std::size_t position = 0;
    while (auto context = element(text, "context", position)) {
        const std::string& body = context->first;
        std::size_t inner = 0;
        const auto name = element(body, "name", inner);
        auto& messages = contexts[name ? unescape(name->first) : std::string()];
        std::size_t at = 0;
        while (auto message = element(body, "message", at)) {
            std::size_t field = 0;
            const auto source = element(message->first, "source", field);
            field = 0;
            const auto translation = element(message->first, "translation", field);
            Message read { source ? unescape(source->first) : std::string(),
                translation ? unescape(translation->first) : std::string(),
                translation ? translation->second : std::string() };
            // A counted text has one form per plural category instead of one translation.
            std::size_t form = 0;
            while (translation) {
                const auto numerus = element(translation->first, "numerusform", form);
                if (!numerus)
                    break;
                read.forms.push_back(unescape(numerus->first));
            }
            if (!read.forms.empty())
                read.translation = read.forms.back();
            messages.push_back(std::move(read));
        }
    }
    return contexts;
}

std::size_t placeholders(std::string_view text)
{
    std::size_t count = 0;
    for (std::size_t at = text.find("lld"); at != std::string_view::npos; at = text.find("lld", at + 3))
        ++count;
    return count;
}

const std::filesystem::path englishFile = std::filesystem::path(QUELM_SOURCE_DIR) / "QuelmWidget" / "i18n" / "quelm_en.ts";

TEST(LocalizationKeysTests, KeysAreDistinctAndNonEmpty)
{
    const std::set<std::string_view> distinct(LocalizationKeys::all.begin(), LocalizationKeys::all.end());
    EXPECT_EQ(distinct.size(), LocalizationKeys::all.size());
    EXPECT_FALSE(distinct.contains(""));
}

TEST(LocalizationKeysTests, EnglishTranslatesEveryKey)
{
    ASSERT_TRUE(std::filesystem::exists(englishFile)) << englishFile;
    const auto contexts = readTranslations(englishFile);
    ASSERT_TRUE(contexts.contains(std::string(LocalizationKeys::context)));
    const auto& messages = contexts.at(std::string(LocalizationKeys::context));

    std::map<std::string, const Message*> bySource;
    for (const Message& message : messages) {
        EXPECT_TRUE(bySource.emplace(message.source, &message).second) << "translated twice: " << message.source;
    }
    for (const std::string_view key : LocalizationKeys::all) {
        SCOPED_TRACE(key);
        const auto found = bySource.find(std::string(key));
        ASSERT_NE(found, bySource.end()) << "no translation";
        const Message& message = *found->second;
        EXPECT_FALSE(message.translation.empty());
        EXPECT_EQ(message.translationAttributes.find("type="), std::string::npos) << "unfinished or obsolete";
        EXPECT_EQ(placeholders(message.translation), placeholders(key));
        for (const std::string& form : message.forms)
            EXPECT_EQ(placeholders(form), placeholders(key)) << form;
    }
}

TEST(LocalizationKeysTests, EnglishSamples)
{
    const auto messages = readTranslations(englishFile).at("Quelm");
    std::map<std::string, std::string> table;
    for (const Message& message : messages)
        table[message.source] = message.translation;
    EXPECT_EQ(table["Quelm está fechado"], "Quelm is closed");
    EXPECT_EQ(table["Toque para abrir"], "Click to open");
    EXPECT_EQ(table["%lld rodando"], "%lld running");
    EXPECT_EQ(table["1 rodando"], "1 running");
    EXPECT_EQ(table["Grupo · %lld itens"], "Group · %lld items");
    const auto counted = std::find_if(messages.begin(), messages.end(), [](const Message& message) { return message.source == "Grupo · %lld itens"; });
    ASSERT_NE(counted, messages.end());
    EXPECT_EQ(counted->forms, (std::vector<std::string> { "Group · %lld item", "Group · %lld items" }));
    EXPECT_EQ(table["Iniciando…"], "Starting…");
    EXPECT_EQ(table["Parando…"], "Stopping…");
    EXPECT_EQ(table["precisa de aprovação"], "needs approval");
    EXPECT_EQ(table["Nada rodando"], "Nothing running");
}

TEST(LocalizationKeysTests, EveryTextTheRulesProduceIsAKey)
{
    using Action = WidgetCommand::Action;
    using Transition = WidgetItem::Transition;
    std::vector<std::string> produced;

    for (const auto status : { SharedStore::AppStatus::notRunning, SharedStore::AppStatus::noAccess, SharedStore::AppStatus::running }) {
        if (const auto message = WidgetContent::choose(status, WidgetSnapshot::empty, WidgetFamily::small).message()) {
            produced.push_back(message->title.key);
            if (message->subtitle)
                produced.push_back(message->subtitle->key);
        }
    }
    produced.push_back(WidgetHeader::title().key);
    for (const std::int64_t count : { 0, 1, 2 })
        produced.push_back(runningCountText(count).key);
    for (const auto rows : { WidgetSection::Rows::sessions, WidgetSection::Rows::groups, WidgetSection::Rows::items })
        produced.push_back(WidgetSection { rows }.title().key);

    WidgetItem item { "a", "A", "node", false };
    produced.push_back(ItemRow { item }.detail().text.key);
    produced.push_back(ItemRow { item, Action::start }.detail().text.key);
    produced.push_back(ItemRow { item, Action::stop }.detail().text.key);
    for (const auto& group : { WidgetGroup("g", "G", 3, 0, false), WidgetGroup("g", "G", 3, 3, true), WidgetGroup("g", "G", 3, 1, true),
             WidgetGroup("g", "G", 3, 1, true, Transition::starting), WidgetGroup("g", "G", 3, 1, true, Transition::stopping) })
        produced.push_back(GroupRow { group }.detail().key);
    for (const auto state : { WidgetSession::State::working, WidgetSession::State::needsApproval, WidgetSession::State::waitingForInput })
        produced.push_back(std::string(SessionRow::style(state).status));
    produced.push_back(QuelmMarkLabel::forRunning(true).text);
    produced.push_back(QuelmMarkLabel::forRunning(false).text);
    produced.push_back(std::string(WidgetSortOrderInfo::typeDisplayName));
    for (const auto order : WidgetSortOrderInfo::allCases)
        produced.push_back(std::string(WidgetSortOrderInfo::displayText(order)));
    produced.push_back(std::string(QuelmWidgetConfiguration::title));
    produced.push_back(std::string(QuelmWidgetConfiguration::sortOrderParameter().title));
    produced.push_back(std::string(ToggleItemIntent::title));
    for (const auto& parameter : ToggleItemIntent::parameters)
        produced.push_back(std::string(parameter.title));

    for (const std::string& key : produced)
        EXPECT_TRUE(LocalizationKeys::contains(key)) << key;
}

}
}
