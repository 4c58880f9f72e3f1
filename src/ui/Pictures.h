#pragma once
// The window's pictures, each loaded by its name from the application's
// resources at the first call and kept for the rest of the run.

#include <QImage>

namespace velmaris {

// 64 by 64.
const QImage& Logo();
// 327 by 45.
const QImage& Velmaris_Titre();

}  // namespace velmaris
