// SPDX-License-Identifier: MIT
#include "ItemRules.h"
#include "ServiceRules.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

using namespace quelmd;
using quelm::WidgetItem;

TEST(ServiceRules, SlugKeepsLowerCaseLettersAndDigitsJoinedByHyphens)
{
    EXPECT_EQ(slug("web (dev)"), "web-dev");
    EXPECT_EQ(slug("Trabalho"), "trabalho");
    EXPECT_EQ(slug("  Ação  Rápida!! 2 "), "acao-rapida-2");
    EXPECT_EQ(slug("my_api.v2"), "my-api-v2");
    EXPECT_EQ(slug("日本"), "");
    EXPECT_EQ(slug(""), "");
}

TEST(ServiceRules, ServiceIdsMakeUnitNames)
{
    EXPECT_TRUE(isServiceId("web-dev_2.x"));
    EXPECT_FALSE(isServiceId(""));
    EXPECT_FALSE(isServiceId("a b"));
    EXPECT_FALSE(isServiceId("a/b"));
    EXPECT_FALSE(isServiceId("a@b"));
}

TEST(ServiceRules, CategoryIsGuessedFromTheCommand)
{
    EXPECT_EQ(guessCategory("npm run dev"), "node");
    EXPECT_EQ(guessCategory("/usr/bin/node server.js"), "node");
    EXPECT_EQ(guessCategory("pnpm dev"), "node");
    EXPECT_EQ(guessCategory("docker compose up"), "docker");
    EXPECT_EQ(guessCategory("podman run --rm redis"), "docker");
    EXPECT_EQ(guessCategory("postgresql.service"), "database");
    EXPECT_EQ(guessCategory("redis-server --port 6380"), "database");
    EXPECT_EQ(guessCategory("kubectl port-forward svc/api 8080"), "kubernetes");
    EXPECT_EQ(guessCategory("minikube start"), "kubernetes");
    EXPECT_EQ(guessCategory("python3 -m http.server 8000"), "server");
    EXPECT_EQ(guessCategory("nodemonster"), "server");
    EXPECT_EQ(guessCategory(""), "server");
}

TEST(ServiceRules, LanguageFollowsTheLocale)
{
    EXPECT_EQ(widgetLanguage({ std::nullopt, std::nullopt, std::nullopt, "en_US.UTF-8" }), "en");
    EXPECT_EQ(widgetLanguage({ std::nullopt, std::nullopt, std::nullopt, "en_GB" }), "en");
    EXPECT_EQ(widgetLanguage({ std::nullopt, std::nullopt, std::nullopt, "pt_BR.UTF-8" }), std::nullopt);
    EXPECT_EQ(widgetLanguage({ std::nullopt, std::nullopt, std::nullopt, "de_DE.UTF-8" }), std::nullopt);
    EXPECT_EQ(widgetLanguage({ std::nullopt, std::nullopt, std::nullopt, "C.UTF-8" }), std::nullopt);
    EXPECT_EQ(widgetLanguage({}), std::nullopt);
    // LC_ALL wins over LC_MESSAGES, which wins over LANG.
    EXPECT_EQ(widgetLanguage({ std::nullopt, "pt_BR.UTF-8", "en_US.UTF-8", "en_US.UTF-8" }), std::nullopt);
    EXPECT_EQ(widgetLanguage({ std::nullopt, std::nullopt, "en_US.UTF-8", "pt_BR.UTF-8" }), "en");
    EXPECT_EQ(widgetLanguage({ std::nullopt, "", "en_US.UTF-8", "pt_BR.UTF-8" }), "en");
    // LANGUAGE is a list of preferences, looked at unless the locale is C.
    EXPECT_EQ(widgetLanguage({ "de:en", std::nullopt, std::nullopt, "de_DE.UTF-8" }), "en");
    EXPECT_EQ(widgetLanguage({ "pt_BR:en", std::nullopt, std::nullopt, "en_US.UTF-8" }), std::nullopt);
    EXPECT_EQ(widgetLanguage({ "en", std::nullopt, std::nullopt, "C" }), std::nullopt);
    EXPECT_EQ(widgetLanguage({ "fr:de", std::nullopt, std::nullopt, "en_US.UTF-8" }), "en");
}

namespace {

ServiceDefinition web()
{
    ServiceDefinition service;
    service.id = "web";
    service.title = "web (dev)";
    service.category = "node";
    return service;
}

UnitState unit(std::string activeState, std::uint64_t enteredAt = 0)
{
    UnitState state;
    state.loadState = "loaded";
    state.activeState = std::move(activeState);
    state.activeEnterTimestamp = enteredAt;
    return state;
}

}

TEST(ItemRules, AnActiveUnitRunsSinceItEnteredTheActiveState)
{
    const WidgetItem item = itemFor(web(), unit("active", 1'700'000'000'250'000), 5173);
    EXPECT_EQ(item, (WidgetItem { "web", "web (dev)", "node", true, std::nullopt, 5173, quelm::Date(1'700'000'000.25) }));
}

TEST(ItemRules, TransitionsFollowTheActiveState)
{
    EXPECT_EQ(itemFor(web(), unit("activating"), std::nullopt).transition, WidgetItem::Transition::starting);
    EXPECT_FALSE(itemFor(web(), unit("activating"), std::nullopt).isRunning);
    EXPECT_EQ(itemFor(web(), unit("reloading", 1'000'000), std::nullopt).transition, WidgetItem::Transition::starting);
    EXPECT_TRUE(itemFor(web(), unit("reloading", 1'000'000), std::nullopt).isRunning);
    EXPECT_EQ(itemFor(web(), unit("deactivating", 1'000'000), std::nullopt).transition, WidgetItem::Transition::stopping);
    EXPECT_TRUE(itemFor(web(), unit("deactivating", 1'000'000), std::nullopt).isRunning);
    EXPECT_EQ(itemFor(web(), unit("active", 1'000'000), std::nullopt).transition, std::nullopt);
}

TEST(ItemRules, AStoppedOrFailedUnitShowsNoPortOrStartTime)
{
    for (const char* state : { "inactive", "failed" }) {
        const WidgetItem item = itemFor(web(), unit(state, 1'000'000), 5173);
        EXPECT_EQ(item, (WidgetItem { "web", "web (dev)", "node", false })) << state;
    }
    EXPECT_FALSE(itemFor(web(), UnitState {}, std::nullopt).isRunning);
}

TEST(ItemRules, TheConfiguredPortWinsOverTheDetectedOne)
{
    ServiceDefinition service = web();
    service.port = 3000;
    EXPECT_EQ(itemFor(service, unit("active", 1), 5173).port, 3000);
    EXPECT_EQ(itemFor(web(), unit("active", 1), std::nullopt).port, std::nullopt);
}

TEST(ItemRules, GroupsCountTheirRunningMembers)
{
    const GroupDefinition group { "group:trabalho", "Trabalho", { "a", "b", "gone" } };
    std::vector<WidgetItem> items { { "a", "A", "node", true }, { "b", "B", "node", false }, { "c", "C", "node", true } };
    EXPECT_EQ(groupFor(group, items), (quelm::WidgetGroup { "group:trabalho", "Trabalho", 2, 1, false }));
    items[1].isRunning = true;
    EXPECT_EQ(groupFor(group, items), (quelm::WidgetGroup { "group:trabalho", "Trabalho", 2, 2, true }));
    EXPECT_EQ(groupFor({ "group:x", "x", {} }, items), (quelm::WidgetGroup { "group:x", "x", 0, 0, false }));
}

TEST(ItemRules, AGroupStartsOrStopsWhileAnyMemberDoes)
{
    const GroupDefinition group { "group:g", "g", { "a", "b" } };
    std::vector<WidgetItem> items { { "a", "A", "node", true }, { "b", "B", "node", false } };
    items[0].transition = WidgetItem::Transition::stopping;
    EXPECT_EQ(groupFor(group, items).transition, WidgetItem::Transition::stopping);
    items[1].transition = WidgetItem::Transition::starting;
    EXPECT_EQ(groupFor(group, items).transition, WidgetItem::Transition::starting);
}

TEST(ItemRules, FailureReasonsSayHowTheProcessEnded)
{
    UnitState state = unit("failed");
    state.result = "exit-code";
    state.execMainCode = CLD_EXITED;
    state.execMainStatus = 127;
    EXPECT_EQ(failureReason(state), "exited with status 127");
    state.result = "signal";
    state.execMainCode = CLD_KILLED;
    state.execMainStatus = 9;
    EXPECT_EQ(failureReason(state), "killed by signal SIGKILL");
    state = unit("failed");
    state.result = "timeout";
    EXPECT_EQ(failureReason(state), "timed out");
    state.result = "start-limit-hit";
    EXPECT_EQ(failureReason(state), "failed (start-limit-hit)");
}
