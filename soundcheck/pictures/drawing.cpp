#include "pictures/drawing.h"

#include "platform/text.h"

#include <cmath>

namespace soundcheck {
namespace {

constexpr double kTickLength = 4;

std::string number(double value) {
    return std::isfinite(value) ? fixedDecimals(value, 1) : "0";
}

std::string attribute(std::string_view name, std::string_view value) {
    return " " + std::string(name) + "=\"" + escaped(value) + "\"";
}

std::string attribute(std::string_view name, double value) {
    return attribute(name, number(value));
}

std::string_view anchorName(Anchor anchor) {
    switch (anchor) {
    case Anchor::start:
        return "start";
    case Anchor::middle:
        return "middle";
    case Anchor::end:
        break;
    }
    return "end";
}

struct Unit {
    double size = 1;
    std::string_view name;
};

constexpr int kMostTimeSteps = 6;

Unit unitOf(double seconds) {
    if (seconds >= 3 * 3600)
        return {3600, "hours"};
    return seconds >= 10 * 60 ? Unit{60, "minutes"} : Unit{1, "seconds"};
}

void drawHorizontalAxis(Drawing& drawing, const PlotArea& area, const Scale& scale, const Unit& unit) {
    drawing.line(area.left, area.bottom, area.right, area.bottom, "axis");
    for (const double tick : ticksOf(scale)) {
        const double x = position(scale, tick, area.left, area.right);
        drawing.line(x, area.bottom, x, area.bottom + kTickLength, "axis");
        drawing.text(x, area.bottom + kLineHeight, Anchor::middle,
                     tickText(tick / unit.size, scale.step / unit.size));
    }
    drawing.text((area.left + area.right) / 2, area.bottom + 2 * kLineHeight, Anchor::middle, unit.name);
}

} // namespace

std::string escaped(std::string_view text) {
    std::string result;
    for (const char letter : toUtf8(toWide(text))) { // there and back: what is no UTF-8 becomes U+FFFD
        const auto code = static_cast<unsigned char>(letter);
        if (letter == '&')
            result += "&amp;";
        else if (letter == '<')
            result += "&lt;";
        else if (letter == '>')
            result += "&gt;";
        else if (letter == '"')
            result += "&quot;";
        else if (letter == '\'')
            result += "&#39;";
        else if ((code < 0x20 && letter != '\n' && letter != '\t') || code == 0x7F)
            result += "\xEF\xBF\xBD";
        else
            result += letter;
    }
    return result;
}

std::string shortened(std::string_view text, std::size_t letters) {
    const std::wstring wide = toWide(text);
    std::size_t used = 0;
    for (std::size_t i = 0; i < wide.size(); ++i) {
        used += wide[i] < 0x250 ? 1U : 2U; // a rough rule: what is not Latin may be as wide as it is high
        const bool insidePair = i > 0 && wide[i] >= 0xDC00 && wide[i] <= 0xDFFF;
        if (used > letters)
            return toUtf8(std::wstring_view(wide).substr(0, insidePair ? i - 1 : i)) + "...";
    }
    return std::string(text);
}

Drawing::Drawing(double height, std::string_view description)
    : m_text("<svg" + attribute("viewBox", "0 0 " + number(kPictureWidth) + " " + number(height)) + " role=\"img\"" +
             attribute("aria-label", description) + ">\n") {}

void Drawing::close(std::string_view element, std::string_view hint) {
    if (hint.empty())
        m_text += "/>\n";
    else
        m_text += "><title>" + escaped(hint) + "</title></" + std::string(element) + ">\n";
}

void Drawing::line(double x1, double y1, double x2, double y2, std::string_view markClass) {
    m_text += "<line" + attribute("x1", x1) + attribute("y1", y1) + attribute("x2", x2) + attribute("y2", y2) +
              attribute("class", markClass);
    close("line", {});
}

void Drawing::box(double x, double y, double width, double height, std::string_view markClass,
                  std::string_view hint) {
    m_text += "<rect" + attribute("x", x) + attribute("y", y) + attribute("width", width) +
              attribute("height", height) + attribute("class", markClass);
    close("rect", hint);
}

void Drawing::path(std::string_view commands, std::string_view markClass) {
    m_text += "<path" + attribute("d", commands) + attribute("class", markClass);
    close("path", {});
}

void Drawing::dot(double x, double y, double radius, std::string_view markClass, std::string_view hint) {
    m_text +=
        "<circle" + attribute("cx", x) + attribute("cy", y) + attribute("r", radius) + attribute("class", markClass);
    close("circle", hint);
}

void Drawing::text(double x, double y, Anchor anchor, std::string_view words, std::string_view textClass) {
    m_text += "<text" + attribute("x", x) + attribute("y", y) + attribute("text-anchor", anchorName(anchor)) +
              (textClass.empty() ? std::string() : attribute("class", textClass)) + ">" + escaped(words) +
              "</text>\n";
}

std::string moveTo(double x, double y) {
    return "M" + number(x) + " " + number(y);
}

std::string lineTo(double x, double y) {
    return "L" + number(x) + " " + number(y);
}

void drawHorizontalAxis(Drawing& drawing, const PlotArea& area, const Scale& scale, std::string_view name) {
    drawHorizontalAxis(drawing, area, scale, {1, name});
}

Scale timeScale(double first, double last, double minimumSpan) {
    const double unit = unitOf(last - first).size;
    const Scale scale = tightScale(first / unit, last / unit, minimumSpan / unit, kMostTimeSteps);
    return {scale.low * unit, scale.high * unit, scale.step * unit};
}

void drawTimeAxis(Drawing& drawing, const PlotArea& area, const Scale& scale) {
    drawHorizontalAxis(drawing, area, scale, unitOf(scale.high - scale.low));
}

void drawVerticalAxis(Drawing& drawing, const PlotArea& area, const Scale& scale, std::string_view name) {
    for (const double tick : ticksOf(scale)) {
        const double y = position(scale, tick, area.bottom, area.top);
        drawing.line(area.left, y, area.right, y, "grid");
        drawing.text(area.left - 6, y + 4, Anchor::end, tickText(tick, scale.step));
    }
    drawing.text(4, area.top - 16, Anchor::start, name);
}

} // namespace soundcheck
