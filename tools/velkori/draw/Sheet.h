#pragma once

#include "character/SkinnedMesh.h"
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
    /** The character's skin; empty if only its bones are there to draw. */
    SkinnedMesh skin;
    /** Frames, in their order. */
    std::vector<int> moments;
};

/** Draws the sheet; the path's extension decides its format. */
void DrawSheet(const std::string& path, const SheetContent& content);

} // namespace Velkori_Tool
