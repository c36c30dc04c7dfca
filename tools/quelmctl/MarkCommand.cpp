// SPDX-License-Identifier: MIT
#include "MarkCommand.h"

#include "Arguments.h"
#include "MarkDocuments.h"

namespace quelmctl {

namespace {

constexpr double defaultSize = 100;

quelm::Rect frame(const Arguments& arguments)
{
    const auto size = arguments.value("--size");
    const auto rect = arguments.value("--rect");
    if (size && rect)
        throw UsageError("give either --size or --rect, not both");
    if (rect) {
        const auto numbers = parseNumberList("--rect", *rect, 4);
        if (numbers[2] < 0 || numbers[3] < 0)
            throw UsageError("option --rect needs a width and a height that are not negative");
        return { numbers[0], numbers[1], numbers[2], numbers[3] };
    }
    const double side = size ? parseNumber("--size", *size) : defaultSize;
    if (!(side > 0))
        throw UsageError("option --size needs a size above 0");
    return { 0, 0, side, side };
}

int runMark(const Invocation& invocation)
{
    const Arguments arguments(invocation.arguments,
        { { "--size", true }, { "--rect", true }, { "--json" }, { "--svg" }, { "--no-sphere" } }, 0);
    const bool json = arguments.has("--json");
    if (json == arguments.has("--svg"))
        throw UsageError("give exactly one of --json and --svg");
    const quelm::Rect rect = frame(arguments);
    const bool withSphere = !arguments.has("--no-sphere");
    if (json)
        invocation.out << markJson(rect, withSphere) << '\n';
    else
        invocation.out << markSvg(rect, withSphere);
    return success;
}

}

const Command markCommand {
    .name = "mark",
    .summary = "print the brand mark's geometry as JSON or SVG",
    .usage = R"(Usage: quelmctl mark [--size N | --rect X,Y,W,H] (--json | --svg) [--no-sphere]

Prints the Quelm mark (a four-pointed star with a round hole and a sphere in
it) computed for a frame: a square N wide (default 100), or the rectangle
X,Y,W,H (only its width sizes the mark, which stays centred on it).

  --json       {"strokeWidth": n,
                "path": [{"op":"move","to":[x,y]},
                         {"op":"curve","c1":[x,y],"c2":[x,y],"to":[x,y]}, ...,
                         {"op":"close"}],
                "hole": {"x","y","w","h"}, "sphere": {"x","y","w","h"}}
  --svg        a standalone SVG asset in currentColor: the star filled and
               stroked, the hole transparent (a mask), the sphere in it
  --no-sphere  leave the sphere out (the mark of an app with nothing running)

Exit status: 0 success, 2 bad usage.
)",
    .run = runMark,
};

}
