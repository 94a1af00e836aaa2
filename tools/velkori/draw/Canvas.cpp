#include "draw/Canvas.h"

#include "Failure.h"
#include "OutputFile.h"
#include "Text.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <fmt/format.h>

#include <cmath>
#include <numbers>

namespace Velkori_Tool {

namespace {

cairo_surface_t* MakeSurface(const std::string& path, double width, double height) {
    const std::string extension = LowerCaseExtension(path);
    if (extension == ".svg") {
        return cairo_svg_surface_create(path.c_str(), width, height);
    }
    if (extension == ".pdf") {
        return cairo_pdf_surface_create(path.c_str(), width, height);
    }
    return cairo_image_surface_create(
        CAIRO_FORMAT_RGB24, static_cast<int>(std::ceil(width)), static_cast<int>(std::ceil(height)));
}

} // namespace

Canvas::Canvas(const std::string& path, double width, double height)
    : path(path),
      surface(MakeSurface(path, width, height), cairo_surface_destroy),
      context(cairo_create(surface.get()), cairo_destroy) {
    cairo_set_line_cap(context.get(), CAIRO_LINE_CAP_ROUND);
    Rectangle({0.0, 0.0}, {std::ceil(width), std::ceil(height)}, {1.0, 1.0, 1.0});
}

void Canvas::Use(const Color& color) {
    cairo_set_source_rgba(context.get(), color.red, color.green, color.blue, color.alpha);
}

void Canvas::Line(Point from, Point to, double width, const Color& color) {
    Use(color);
    cairo_set_line_width(context.get(), width);
    cairo_move_to(context.get(), from.x, from.y);
    cairo_line_to(context.get(), to.x, to.y);
    cairo_stroke(context.get());
}

void Canvas::Circle(Point centre, double radius, const Color& fill) {
    Use(fill);
    cairo_arc(context.get(), centre.x, centre.y, radius, 0.0, 2.0 * std::numbers::pi);
    cairo_fill(context.get());
}

void Canvas::Triangle(Point a, Point b, Point c, const Color& fill) {
    Use(fill);
    cairo_move_to(context.get(), a.x, a.y);
    cairo_line_to(context.get(), b.x, b.y);
    cairo_line_to(context.get(), c.x, c.y);
    cairo_close_path(context.get());
    cairo_fill_preserve(context.get());
    // Closes the seam to the neighbours.
    constexpr double seam = 0.6;
    cairo_set_line_width(context.get(), seam);
    cairo_stroke(context.get());
}

void Canvas::Rectangle(Point corner, Point size, const Color& fill) {
    Use(fill);
    cairo_rectangle(context.get(), corner.x, corner.y, size.x, size.y);
    cairo_fill(context.get());
}

void Canvas::Text(
    const std::string& text, Point place, double size, const Color& color, double alignment, bool isBold) {
    Use(color);
    cairo_select_font_face(context.get(), "sans-serif", CAIRO_FONT_SLANT_NORMAL,
        isBold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context.get(), size);
    cairo_text_extents_t extents;
    const std::string valid = ValidUTF8(text);
    cairo_text_extents(context.get(), valid.c_str(), &extents);
    cairo_move_to(context.get(), place.x - alignment * extents.x_advance, place.y);
    cairo_show_text(context.get(), valid.c_str());
}

void Canvas::Finish() {
    cairo_status_t status = cairo_status(context.get());
    if (status == CAIRO_STATUS_SUCCESS && LowerCaseExtension(path) == ".png") {
        status = cairo_surface_write_to_png(surface.get(), path.c_str());
    }
    cairo_surface_finish(surface.get());
    status = status == CAIRO_STATUS_SUCCESS ? cairo_surface_status(surface.get()) : status;
    if (status != CAIRO_STATUS_SUCCESS) {
        throw Failure(cairo_status_to_string(status));
    }
}

void CheckPictureFormat(const std::string& path) {
    const std::string extension = LowerCaseExtension(path);
    if (extension != ".png" && extension != ".svg" && extension != ".pdf") {
        throw UsageFailure(fmt::format(
            "can't draw '{}': pictures are .png, .svg or .pdf; give the file one of these endings", path));
    }
}

} // namespace Velkori_Tool
