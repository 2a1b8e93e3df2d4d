#pragma once

#include "platform/viewer.h"

namespace tavrel::test {

/// View parameters of which none is neutral.
inline ViewParameters SampleView() {
    return {.zoom = 3.5F,
            .flipHorizontal = true,
            .flipVertical = true,
            .displayedArea = {.left = -1, .top = 2, .right = 300, .bottom = 32767},
            .inverted = true,
            .smoothed = true,
            .frame = 7,
            .rotation = 270,
            .windowCenter = -1024.5F,
            .windowWidth = 4096,
            .panX = 12.25F,
            .panY = -8,
            .gamma = 1.5F,
            .sharpness = 0.25F};
}

} // namespace tavrel::test
