// Kelmira runs an operator on the caller's thread; OpenCV is measured the same way.
#include <opencv2/core.hpp>

namespace {
const int kSingleThread = (cv::setNumThreads(1), 0);
}  // namespace
