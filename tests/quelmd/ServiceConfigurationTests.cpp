// SPDX-License-Identifier: MIT
#include "ServiceConfiguration.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using namespace quelmd;

namespace {

const std::filesystem::path file = "/home/ana/.config/quelm/services.toml";
const std::filesystem::path home = "/home/ana";

ServiceConfiguration parse(std::string_view text)
{
    return parseServiceConfiguration(text, file, home);
}

ConfigurationError errorOf(std::string_view text)
{
    try {
        parse(text);
    } catch (const ConfigurationError& error) {
        return error;
    }
    ADD_FAILURE() << "no error for:\n" << text;
    return ConfigurationError(file, std::nullopt, "", "");
}

}

TEST(ServiceConfiguration, ReadsTheDocumentedExample)
{
    const ServiceConfiguration configuration = parse(R"toml(
[[service]]
id = "web"                      # optional: derived from the title when missing
title = "web (dev)"
command = "npm run dev"
directory = "~/code/web"
environment = { PORT = "5173" }
category = "node"
port = 5173

[[service]]
title = "postgres"
unit = "postgresql.service"

[[group]]
name = "Trabalho"
members = ["web", "postgres"]
)toml");
    ASSERT_EQ(configuration.services.size(), 2u);
    const ServiceDefinition& web = configuration.services[0];
    EXPECT_EQ(web.id, "web");
    EXPECT_EQ(web.title, "web (dev)");
    EXPECT_EQ(web.arguments, (std::vector<std::string> { "/bin/sh", "-c", "npm run dev" }));
    EXPECT_EQ(web.directory, std::filesystem::path("/home/ana/code/web"));
    EXPECT_EQ(web.environment, (std::map<std::string, std::string> { { "PORT", "5173" } }));
    EXPECT_EQ(web.category, "node");
    EXPECT_EQ(web.port, 5173);
    EXPECT_EQ(web.unitName(), "quelm-web.service");

    const ServiceDefinition& postgres = configuration.services[1];
    EXPECT_EQ(postgres.id, "postgres");
    EXPECT_EQ(postgres.unitName(), "postgresql.service");
    EXPECT_EQ(postgres.category, "database");
    EXPECT_TRUE(postgres.arguments.empty());

    ASSERT_EQ(configuration.groups.size(), 1u);
    EXPECT_EQ(configuration.groups[0].id, "group:trabalho");
    EXPECT_EQ(configuration.groups[0].members, (std::vector<std::string> { "web", "postgres" }));
    EXPECT_EQ(configuration.group("group:trabalho"), &configuration.groups[0]);
    EXPECT_EQ(configuration.service("postgres"), &configuration.services[1]);
    EXPECT_EQ(configuration.service("nope"), nullptr);
}

TEST(ServiceConfiguration, TakesAnArgumentArrayAsItStandsAndGuessesItsCategory)
{
    const ServiceConfiguration configuration = parse(R"toml(
[[service]]
title = "API (dev)"
command = ["python3", "-m", "http.server", "8000"]
)toml");
    ASSERT_EQ(configuration.services.size(), 1u);
    EXPECT_EQ(configuration.services[0].id, "api-dev");
    EXPECT_EQ(configuration.services[0].arguments, (std::vector<std::string> { "python3", "-m", "http.server", "8000" }));
    EXPECT_EQ(configuration.services[0].category, "server");
    EXPECT_EQ(configuration.services[0].port, std::nullopt);
}

TEST(ServiceConfiguration, AnEmptyFileHasNoServices)
{
    EXPECT_EQ(parse(""), ServiceConfiguration {});
}

TEST(ServiceConfiguration, ErrorsNameTheFileTheLineAndTheKey)
{
    const ConfigurationError error = errorOf("[[service]]\ntitle = \"web\"\ncommand = \"x\"\nport = 70000\n");
    EXPECT_EQ(error.file(), file);
    EXPECT_EQ(error.line(), 4u);
    EXPECT_EQ(error.key(), "service[1].port");
    EXPECT_STREQ(error.what(), "/home/ana/.config/quelm/services.toml:4: service[1].port: must be a whole number from 1 to 65535");
}

TEST(ServiceConfiguration, ASyntaxErrorNamesItsLine)
{
    const ConfigurationError error = errorOf("[[service]]\ntitle = \"web\"\ncommand = \n");
    EXPECT_EQ(error.line(), 3u);
    EXPECT_NE(std::string(error.what()).find("services.toml:3:"), std::string::npos) << error.what();
}

TEST(ServiceConfiguration, RefusesWhatCannotRun)
{
    EXPECT_EQ(errorOf("[[service]]\ntitle = \"web\"\n").key(), "service[1].command");
    EXPECT_EQ(errorOf("[[service]]\ncommand = \"x\"\n").key(), "service[1].title");
    EXPECT_EQ(errorOf("[[service]]\ntitle = \"a\"\ncommand = \"x\"\nunit = \"a.service\"\n").key(), "service[1].command");
    EXPECT_EQ(errorOf("[[service]]\ntitle = \"a\"\nunit = \"a.socket\"\n").key(), "service[1].unit");
    EXPECT_EQ(errorOf("[[service]]\ntitle = \"a\"\ncommand = []\n").key(), "service[1].command");
    EXPECT_EQ(errorOf("[[service]]\ntitle = \"a\"\ncommand = 3\n").key(), "service[1].command");
    EXPECT_EQ(errorOf("[[service]]\ntitle = \"a\"\nid = \"a/b\"\ncommand = \"x\"\n").key(), "service[1].id");
    EXPECT_EQ(errorOf("[[service]]\ntitle = \"!!\"\ncommand = \"x\"\n").key(), "service[1].title");
    EXPECT_EQ(errorOf("[[service]]\ntitle = \"a\"\ncommand = \"x\"\ncolour = \"red\"\n").key(), "service[1].colour");
    EXPECT_EQ(errorOf("[[service]]\ntitle = \"a\"\ncommand = \"x\"\nenvironment = { A = true }\n").key(), "service[1].environment.A");
    EXPECT_EQ(errorOf("[[service]]\ntitle = \"a\"\nunit = \"a.service\"\ndirectory = \"/tmp\"\n").key(), "service[1].directory");
    EXPECT_EQ(errorOf("services = 3\n").key(), "services");
    EXPECT_EQ(errorOf("service = 3\n").key(), "service");
}

TEST(ServiceConfiguration, RefusesTwoServicesWithOneIdOrUnit)
{
    const ConfigurationError sameId = errorOf("[[service]]\ntitle = \"web\"\ncommand = \"x\"\n\n[[service]]\ntitle = \"Web\"\ncommand = \"y\"\n");
    EXPECT_EQ(sameId.key(), "service[2].title");
    EXPECT_EQ(sameId.line(), 6u);
    EXPECT_EQ(errorOf("[[service]]\ntitle = \"a\"\nunit = \"x.service\"\n[[service]]\ntitle = \"b\"\nunit = \"x.service\"\n").key(),
        "service[2].unit");
}

TEST(ServiceConfiguration, RefusesGroupsOfUnknownOrRepeatedMembers)
{
    const std::string services = "[[service]]\ntitle = \"a\"\ncommand = \"x\"\n";
    const ConfigurationError unknown = errorOf(services + "[[group]]\nname = \"g\"\nmembers = [\"a\", \"b\"]\n");
    EXPECT_EQ(unknown.key(), "group[1].members");
    EXPECT_EQ(unknown.line(), 6u);
    EXPECT_NE(std::string(unknown.what()).find("\"b\""), std::string::npos);
    EXPECT_EQ(errorOf(services + "[[group]]\nname = \"g\"\nmembers = [\"a\", \"a\"]\n").key(), "group[1].members");
    EXPECT_EQ(errorOf(services + "[[group]]\nmembers = [\"a\"]\n").key(), "group[1].name");
    EXPECT_EQ(errorOf(services + "[[group]]\nname = \"G\"\nmembers = [\"a\"]\n[[group]]\nname = \"g\"\nmembers = []\n").key(),
        "group[2].name");
}

TEST(ServiceConfiguration, AMissingFileIsAnEmptyConfigurationAndAFolderIsAnError)
{
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / ("quelmd-config-" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    EXPECT_EQ(loadServiceConfiguration(folder / "missing.toml", home), ServiceConfiguration {});
    EXPECT_THROW(loadServiceConfiguration(folder, home), ConfigurationError);
    std::ofstream(folder / "services.toml") << "[[service]]\ntitle = \"a\"\ncommand = \"x\"\n";
    EXPECT_EQ(loadServiceConfiguration(folder / "services.toml", home).services.size(), 1u);
    std::filesystem::remove_all(folder);
}

TEST(ServiceConfiguration, ARelativeDirectoryIsTakenFromTheFilesFolder)
{
    const ServiceConfiguration configuration
        = parse("[[service]]\ntitle = \"a\"\ncommand = \"x\"\ndirectory = \"../../code/a\"\n[[service]]\ntitle = \"b\"\ncommand = \"x\"\ndirectory = \"/srv/b\"\n");
    EXPECT_EQ(configuration.services[0].directory, std::filesystem::path("/home/ana/code/a"));
    EXPECT_EQ(configuration.services[1].directory, std::filesystem::path("/srv/b"));
}
