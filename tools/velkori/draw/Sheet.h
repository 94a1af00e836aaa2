#pragma once

#include "draw/Figure.h"
#include "host/RetargetedClip.h"

#include <string>
#include <vector>

namespace Velkori_Tool {

/** What a contact sheet shows. */
struct SheetContent {
    std::string title;
    std::string clipName;
    const RetargetedClip& clip;
    Figure source;
    Figure target;
    /** Frames, in their order. */
    std::vector<int> moments;
};

/** Draws the sheet; the path's extension decides its format. */
void DrawSheet(const std::string& path, const SheetContent& content);

} // namespace Velkori_Tool
