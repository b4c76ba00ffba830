// The demo's built-in scene, drawn in code: parts on a conveyor belt under uneven light, seen by a
// noisy 640x480 sensor.
#ifndef KELMIRA_TOOL_SCENE_H
#define KELMIRA_TOOL_SCENE_H

#include "picture.h"

namespace ktool {

constexpr int kSceneWidth = 640;
constexpr int kSceneHeight = 480;

// A machined bracket with two bored holes and a slot, a washer, a hex nut, a gear, a printed lot
// number and a dot-matrix code, fiducial crosses, a lighting gradient and Gaussian sensor noise.
// The same seed gives the same pixels.
Picture MakeColourScene(unsigned seed = 7);
// The same scene as the sensor's gray channel (integer luminance 77 R + 150 G + 29 B >> 8).
Picture MakeGrayScene(const Picture& colour);

}  // namespace ktool

#endif  // KELMIRA_TOOL_SCENE_H
