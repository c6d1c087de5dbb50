#pragma once

#include "sketch/edgekernel.h"
#include "sketch/gaussianblurplan.h"
#include "sketch/levelskernel.h"

namespace sketch {

// The arithmetic of blur() on plain memory; see there. The plan must be usable,
// and both pictures wider and higher than twice its border.
void blurKernel(const PhotoView &source, const PaperView &destination, const BlurPlan &plan);

} // namespace sketch
