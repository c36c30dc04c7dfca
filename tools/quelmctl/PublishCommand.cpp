// SPDX-License-Identifier: MIT
#include "PublishCommand.h"

#include "Arguments.h"
#include "InputDocument.h"
#include "StoreLocation.h"

#include <quelm/SharedStore.h>
#include <quelm/WireFormat.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <system_error>

namespace quelmctl {

namespace {

// The refusal is one line, whatever the decoder's message holds.
std::string oneLine(std::string text)
{
    std::replace_if(text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return text;
}

// --stamp sets the time, so a document that leaves it out is still whole with it. A document that
// is not a JSON object is left as it is, for the decoder to name what is wrong.
std::string withUpdatedAt(std::string bytes, quelm::Date now)
{
    nlohmann::json document = nlohmann::json::parse(bytes, nullptr, false);
    if (!document.is_object() || document.contains("updatedAt"))
        return bytes;
    document["updatedAt"] = now.secondsSince1970();
    return document.dump();
}

int runPublish(const Invocation& invocation)
{
    const Arguments arguments(invocation.arguments, { { "--stamp" } }, 1);
    const std::string source = arguments.operands().empty() ? "-" : arguments.operands().front();

    const quelm::SharedStore store = openStore(invocation);
    InputDocument document = readInputDocument(source);
    if (arguments.has("--stamp"))
        document.bytes = withUpdatedAt(std::move(document.bytes), quelm::Date::now());

    quelm::WidgetSnapshot snapshot;
    try {
        snapshot = quelm::decode<quelm::WidgetSnapshot>(document.bytes);
    } catch (const quelm::DecodingError& error) {
        throw CommandFailure(badUsage, "refused " + document.name + ": " + oneLine(error.what()));
    }
    if (arguments.has("--stamp"))
        snapshot.updatedAt = quelm::Date::now();

    try {
        store.writeSnapshot(snapshot);
    } catch (const quelm::EncodingError& error) {
        throw CommandFailure(badUsage, "refused " + document.name + ": " + oneLine(error.what()));
    } catch (const std::system_error& error) {
        throw CommandFailure(systemRefused, "cannot write the snapshot in " + store.root().string() + ": " + error.what());
    }
    return success;
}

}

const Command publishCommand {
    .name = "publish",
    .summary = "publish a snapshot document for the widget",
    .usage = R"(Usage: quelmctl publish [FILE|-] [--stamp] [--root DIR]

Reads a snapshot document from FILE, or from standard input when FILE is "-" or
missing, checks it exactly as the widget decodes it, and writes it to the
store's snapshot.json (atomically).

  --stamp     set "updatedAt" to the current time before writing (a document
              without "updatedAt" is then accepted)
  --root DIR  use DIR as the store instead of the app group container

A document the widget would refuse is not written: the previous snapshot stays,
and one line on stderr names the bad value, e.g. items[2].transition.

Exit status: 0 published, 1 the snapshot could not be written, 2 bad usage or
a refused document.
)",
    .run = runPublish,
};

}
