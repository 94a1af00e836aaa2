#pragma once

#include <cairo.h>

#include <memory>
#include <string>

namespace Velkori_Tool {

struct Color {
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    double alpha = 1.0;
};

struct Point {
    double x = 0.0;
    double y = 0.0;
};

/** A page in a PNG, SVG or PDF file, by the path's extension. Lengths are in pixels, y points down. */
class Canvas {
  public:
    Canvas(const std::string& path, double width, double height);

    void Line(Point from, Point to, double width, const Color& color);
    void Circle(Point centre, double radius, const Color& fill);
    void Triangle(Point a, Point b, Point c, const Color& fill);
    void Rectangle(Point corner, Point size, const Color& fill);
    /** With its baseline's left end at `place`, or its right end or middle by `alignment` 1 or 0.5. */
    void Text(const std::string& text, Point place, double size, const Color& color, double alignment = 0.0,
        bool isBold = false);

    /** Ends the page. Throws Failure, without the path, if it couldn't be written. */
    void Finish();

  private:
    void Use(const Color& color);

    std::string path;
    std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface;
    std::unique_ptr<cairo_t, void (*)(cairo_t*)> context;
};

/** Throws UsageFailure unless the path's extension is one that a canvas writes. */
void CheckPictureFormat(const std::string& path);

} // namespace Velkori_Tool
