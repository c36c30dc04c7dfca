// SPDX-License-Identifier: MIT
#include "TestSupport.h"
#include "ViewsTestSupport.h"

#include <nlohmann/json.hpp>

#include <QImage>

#include <cstdlib>
#include <sys/wait.h>

using namespace quelm;
using namespace quelm::test;

namespace {

struct Outcome {
    int status = -1;
    std::string out;
    std::string err;
};

std::string quoted(const std::string& text)
{
    std::string result = "'";
    for (const char c : text)
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

class RenderCommandTest : public ViewsTest {
protected:
    Outcome run(const std::vector<std::string>& arguments)
    {
        const char* program = std::getenv("QUELM_WIDGET");
        if (!program)
            throw std::runtime_error("QUELM_WIDGET names no program");
        std::string command = quoted(program) + " render";
        for (const std::string& argument : arguments)
            command += " " + quoted(argument);
        command += " > " + quoted((folder / "out").string()) + " 2> " + quoted((folder / "err").string());
        const int raw = std::system(command.c_str());
        Outcome result;
        result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        result.out = readFile(folder / "out");
        result.err = readFile(folder / "err");
        return result;
    }

    TemporaryDirectory folder;
    ScopedEnvironment platform { "QT_QPA_PLATFORM", std::nullopt };
    ScopedEnvironment locale { "LC_ALL", "pt_BR.UTF-8" };
    ScopedEnvironment data { "XDG_DATA_HOME", std::nullopt };
};

}

TEST_F(RenderCommandTest, BadArgumentsExitWithTwoAndSayWhy)
{
    const std::vector<std::vector<std::string>> bad {
        {},
        { "--family", "huge" },
        { "--family", "small", "--format", "gif" },
        { "--family", "small", "--scale", "0" },
        { "--family", "small", "--scale", "x" },
        { "--family", "small", "--now", "yesterday" },
        { "--family", "small", "--status", "running" },
        { "--family", "small", "--sample", "--status", "sleeping" },
        { "--family", "small", "--sample", "--pending", "a=pause" },
        { "--family", "small", "--sample", "--pending", "a" },
        { "--family", "small", "--sample", "--snapshot", "x.json" },
        { "--family", "small", "--bogus" },
    };
    for (const auto& arguments : bad) {
        const Outcome result = run(arguments);
        EXPECT_EQ(result.status, 2) << result.err;
        EXPECT_NE(result.err.find("render"), std::string::npos) << result.err;
        EXPECT_TRUE(result.out.empty());
    }
}

TEST_F(RenderCommandTest, UndecodableSnapshotIsRefused)
{
    writeFile(folder / "bad.json", R"({"items": [{"id": 1}], "updatedAt": 0})");
    const Outcome result = run({ "--family", "small", "--snapshot", (folder / "bad.json").string() });
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("bad.json"), std::string::npos) << result.err;

    const Outcome missing = run({ "--family", "small", "--snapshot", (folder / "absent.json").string() });
    EXPECT_EQ(missing.status, 2);
}

TEST_F(RenderCommandTest, JsonDumpsTheViewTreeOfASnapshot)
{
    writeFile(folder / "snapshot.json",
        R"({"items": [{"id": "api", "title": "api", "category": "node", "isRunning": false}], "language": "en", "updatedAt": 0})");
    const Outcome result = run({ "--family", "medium", "--snapshot", (folder / "snapshot.json").string(), "--pending", "api=start",
        "--format", "json", "--now", "1700000000" });
    ASSERT_EQ(result.status, 0) << result.err;
    const auto json = nlohmann::json::parse(result.out);
    EXPECT_EQ(json["family"], "medium");
    EXPECT_EQ(json["appStatus"], "running");
    EXPECT_EQ(json["size"]["w"], 364);
    EXPECT_NE(result.out.find("\"Starting…\""), std::string::npos) << "English, with the pending start";

    const Outcome closed = run({ "--family", "small", "--snapshot", (folder / "snapshot.json").string(), "--status", "notRunning",
        "--format", "json" });
    ASSERT_EQ(closed.status, 0) << closed.err;
    EXPECT_NE(closed.out.find("\"Quelm is closed\""), std::string::npos);
}

TEST_F(RenderCommandTest, SampleJsonIsReproducibleWithAFixedClock)
{
    const std::vector<std::string> arguments { "--family", "large", "--sample", "--now", "1700000000", "--format", "json" };
    const Outcome first = run(arguments);
    const Outcome second = run(arguments);
    ASSERT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(first.out, second.out);
    const std::string golden = readFile(std::filesystem::path(QUELM_SOURCE_DIR) / "tests" / "golden" / "large-running.json");
    EXPECT_EQ(first.out, golden) << "the command and the golden files agree";
}

TEST_F(RenderCommandTest, PngHasTheScaledSizeAndTransparentCorners)
{
    const auto path = folder / "widget.png";
    const Outcome result = run({ "--family", "medium", "--sample", "--scale", "3", "-o", path.string() });
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(result.out.empty());
    const QImage image(QString::fromStdString(path.string()));
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.size(), QSize(364 * 3, 170 * 3));
    EXPECT_EQ(qAlpha(image.pixel(0, 0)), 0);
    EXPECT_EQ(qAlpha(image.pixel(image.width() - 1, image.height() - 1)), 0);
    EXPECT_EQ(qAlpha(image.pixel(image.width() / 2, image.height() / 2)), 255);
}

TEST_F(RenderCommandTest, PngGoesToStandardOutputByDefault)
{
    const Outcome result = run({ "--family", "small", "--sample" });
    ASSERT_EQ(result.status, 0) << result.err;
    ASSERT_GT(result.out.size(), 8u);
    EXPECT_EQ(result.out.substr(0, 8), std::string("\x89PNG\r\n\x1a\n", 8));
    QImage image;
    ASSERT_TRUE(image.loadFromData(reinterpret_cast<const uchar*>(result.out.data()), static_cast<int>(result.out.size()), "PNG"));
    EXPECT_EQ(image.size(), QSize(340, 340)) << "scale 2 by default";
}

TEST_F(RenderCommandTest, LiveEntryWithoutContainerShowsNoAccess)
{
    const ScopedEnvironment home("HOME", std::nullopt);
    const ScopedEnvironment dataHome("XDG_DATA_HOME", std::nullopt);
    const Outcome result = run({ "--family", "small", "--format", "json" });
    ASSERT_EQ(result.status, 0) << result.err;
    const auto json = nlohmann::json::parse(result.out);
    EXPECT_EQ(json["appStatus"], "noAccess");
}

TEST_F(RenderCommandTest, LiveEntryReadsTheContainer)
{
    const ScopedEnvironment dataHome("XDG_DATA_HOME", folder.path().string());
    const auto container = folder / "group-containers" / "local.dev.quelm.Quelm";
    std::filesystem::create_directories(container);
    writeFile(container / "snapshot.json",
        R"({"items": [{"id": "api", "title": "live-api", "category": "node", "isRunning": true}], "updatedAt": 1700000000})");
    writeFile(container / "heartbeat", "1700000000");
    // The clock fixed at ten seconds after the last heartbeat: the app runs.
    const Outcome result = run({ "--family", "small", "--format", "json", "--now", "1700000010" });
    ASSERT_EQ(result.status, 0) << result.err;
    const auto json = nlohmann::json::parse(result.out);
    EXPECT_EQ(json["appStatus"], "running");
    EXPECT_NE(result.out.find("live-api"), std::string::npos);
}
