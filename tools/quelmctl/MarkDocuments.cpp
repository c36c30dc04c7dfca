// SPDX-License-Identifier: MIT
#include "MarkDocuments.h"

#include <quelm/QuelmMark.h>

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>
#include <sstream>

namespace quelmctl {

namespace {

using Json = nlohmann::ordered_json;
using Kind = quelm::Path::Element::Kind;

Json point(quelm::Point p)
{
    return Json::array({ p.x, p.y });
}

Json rect(const quelm::Rect& r)
{
    return { { "x", r.x }, { "y", r.y }, { "w", r.width }, { "h", r.height } };
}

// Numbers for SVG: fixed notation, at most six decimals, no trailing zeros, no "-0".
std::string number(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.6f", value);
    std::string result = text;
    result.erase(result.find_last_not_of('0') + 1);
    if (result.back() == '.')
        result.pop_back();
    if (result == "-0")
        result = "0";
    return result;
}

std::string pathData(const quelm::Path& path)
{
    std::string data;
    const auto add = [&](quelm::Point p) { data += number(p.x) + ' ' + number(p.y); };
    for (const auto& element : path.elements()) {
        if (!data.empty())
            data += ' ';
        switch (element.kind) {
        case Kind::move:
            data += 'M';
            add(element.to);
            break;
        case Kind::curve:
            data += 'C';
            add(element.control1);
            data += ' ';
            add(element.control2);
            data += ' ';
            add(element.to);
            break;
        case Kind::close:
            data += 'Z';
            break;
        }
    }
    return data;
}

std::string rectAttributes(const quelm::Rect& r)
{
    return "x=\"" + number(r.x) + "\" y=\"" + number(r.y) + "\" width=\"" + number(r.width) + "\" height=\"" + number(r.height) + '"';
}

std::string circle(const quelm::Rect& bounds, std::string_view fill)
{
    return "<circle cx=\"" + number(bounds.midX()) + "\" cy=\"" + number(bounds.midY()) + "\" r=\"" + number(bounds.width * 0.5)
        + "\" fill=\"" + std::string(fill) + "\"/>";
}

}

std::string markJson(const quelm::Rect& frame, bool withSphere)
{
    const quelm::Path star = quelm::QuelmMark::starPath(frame);
    Json path = Json::array();
    for (const auto& element : star.elements()) {
        switch (element.kind) {
        case Kind::move:
            path.push_back({ { "op", "move" }, { "to", point(element.to) } });
            break;
        case Kind::curve:
            path.push_back({ { "op", "curve" }, { "c1", point(element.control1) }, { "c2", point(element.control2) }, { "to", point(element.to) } });
            break;
        case Kind::close:
            path.push_back({ { "op", "close" } });
            break;
        }
    }
    Json document {
        { "strokeWidth", quelm::QuelmMark::strokeWidth(frame) },
        { "path", path },
        { "hole", rect(quelm::QuelmMark::holeRect(frame)) },
    };
    if (withSphere)
        document["sphere"] = rect(quelm::QuelmMark::sphereRect(frame));
    return document.dump();
}

std::string markSvg(const quelm::Rect& frame, bool withSphere)
{
    // Everything the stroked star covers lies within half the width of the centre.
    const double half = frame.width * 0.5;
    const quelm::Rect figure { frame.midX() - half, frame.midY() - half, frame.width, frame.width };

    std::ostringstream svg;
    svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << number(frame.width) << "\" height=\"" << number(frame.height)
        << "\" viewBox=\"" << number(frame.x) << ' ' << number(frame.y) << ' ' << number(frame.width) << ' ' << number(frame.height)
        << "\" color=\"#000000\">\n"
        << "  <title>Quelm</title>\n"
        << "  <defs>\n"
        << "    <mask id=\"quelm-hole\" maskUnits=\"userSpaceOnUse\" " << rectAttributes(figure) << ">\n"
        << "      <rect " << rectAttributes(figure) << " fill=\"white\"/>\n"
        << "      " << circle(quelm::QuelmMark::holeRect(frame), "black") << '\n'
        << "    </mask>\n"
        << "  </defs>\n"
        << "  <path d=\"" << pathData(quelm::QuelmMark::starPath(frame)) << "\" fill=\"currentColor\" fill-rule=\"nonzero\""
        << " stroke=\"currentColor\" stroke-width=\"" << number(quelm::QuelmMark::strokeWidth(frame))
        << "\" stroke-linejoin=\"round\" stroke-linecap=\"butt\" stroke-miterlimit=\"10\" mask=\"url(#quelm-hole)\"/>\n";
    if (withSphere)
        svg << "  " << circle(quelm::QuelmMark::sphereRect(frame), "currentColor") << '\n';
    svg << "</svg>\n";
    return svg.str();
}

}
