/**
 * @file
 * One picture as text: SVG for the inside of an HTML page, whose style sheet gives the classes their colours. Marks
 * are named by class, so that the same picture suits light and dark. Everything that comes from outside is escaped.
 */
#pragma once

#include "pictures/scale.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace soundcheck {

/** Text for the inside of an element or of a quoted attribute. Broken UTF-8 and control characters are replaced. */
std::string escaped(std::string_view text);

/** Cut such that it takes no more than the width of so many Latin letters; what was cut shows as three dots. */
std::string shortened(std::string_view text, std::size_t letters);

/** Letters that surely fit into a picture's width, also in the large letters of a phone. */
inline constexpr std::size_t kLongestLabel = 48;

/** Width of all pictures, in their own units; the page stretches them. */
inline constexpr double kPictureWidth = 560;

/** Height that a line of text takes; twice the letters of a wide screen, since a phone's style enlarges them. */
inline constexpr double kLineHeight = 20;

enum class Anchor { start, middle, end };

class Drawing {
public:
    /** @param description for those who do not see the picture */
    Drawing(double height, std::string_view description);

    void line(double x1, double y1, double x2, double y2, std::string_view markClass);
    /** @param hint shown when pointed at; may be empty */
    void box(double x, double y, double width, double height, std::string_view markClass, std::string_view hint = {});
    /** @param commands of an SVG path, made of moveTo and others below */
    void path(std::string_view commands, std::string_view markClass);
    void dot(double x, double y, double radius, std::string_view markClass, std::string_view hint = {});
    void text(double x, double y, Anchor anchor, std::string_view words, std::string_view textClass = {});

    /** The whole element. */
    std::string svg() const { return m_text + "</svg>\n"; }

private:
    void close(std::string_view element, std::string_view hint);
    std::string m_text;
};

/** Commands of a path. */
std::string moveTo(double x, double y);
std::string lineTo(double x, double y);

/** What half of an axis' number takes beside the area, in the large letters of a phone. */
inline constexpr double kSideMargin = 22;

/** Where a chart draws its data: inside the margins for the labels of its axes. */
struct PlotArea {
    double left = 62;
    double right = kPictureWidth - kSideMargin;
    double top = kLineHeight;
    double bottom = 0;
};

/** Ticks, their numbers and the axis' name below the area. */
void drawHorizontalAxis(Drawing& drawing, const PlotArea& area, const Scale& scale, std::string_view name);
/** From second to second; its ticks are round in the unit in which `drawTimeAxis` counts them. */
Scale timeScale(double first, double last, double minimumSpan);
/** As the horizontal axis; counts long times in minutes or hours. */
void drawTimeAxis(Drawing& drawing, const PlotArea& area, const Scale& scale);
/** Ticks, their numbers and the axis' name at the left of the area. */
void drawVerticalAxis(Drawing& drawing, const PlotArea& area, const Scale& scale, std::string_view name);

/** Where an area begins whose vertical axis has its name above. */
inline constexpr double kNamedAxisTop = kLineHeight + 14;

/** What a horizontal axis needs below its area. */
inline constexpr double kAxisHeight = 2 * kLineHeight + 6;

} // namespace soundcheck
