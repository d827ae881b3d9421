// Where a world point lands in a picture of the 3D window: the perspective camera of the
// projection settings, then the window's zoom block.
#pragma once

#include "Host/HostTypes.hpp"
#include "Sim/Scene.hpp"

namespace Velmora::Sim {

// The camera as an orthonormal frame; viewCone is the horizontal opening angle in radians.
struct ViewCamera {
    Vec3 eye;
    Vec3 right, up, forward;
    double tanHalfCone = 1.0;
};

ViewCamera MakeViewCamera(Host::API_PerspPars const& persp);

// Camera space: x to the right, y up, depth along the view direction (in metres).
Vec3 ToCameraSpace(ViewCamera const& camera, Vec3 world);

// The zoom block of one picture, in that picture's pixels.
//
// A camera-space point (x, y, depth) has the view coordinates nx = x / (depth * tanHalfCone)
// and ny = y / (depth * tanHalfCone): the window's width spans nx = -1..1 and the height the
// same units, so pixels stay square. The zoom block maps them to picture pixels:
//
//   X = (width / 2) * scaleX * (1 + nx) + dispX
//   Y = (height / 2) * scaleY - (width / 2) * scaleY * ny - dispY      (Y grows downwards)
//
// so scale factors enlarge about the top-left corner and the offsets move the view right and
// up. A window of W x H with block (s, t, dx, dy) therefore shows exactly the top-left tile
// of a picture of nW x nH with block (s, t, n dx, n dy) when its own block is (n s, n t, n dx,
// n dy); the block (n s, n t, n dx - W c, n dy + H r) shows column c, row r of it. Tiled
// capture relies on that: its n x n tiles stitch into the picture n times the window's size.
// The window's default block is (1, 1, 0, 0), the whole view centred.
struct PictureFrame {
    int width = 0, height = 0;
    double scaleX = 1.0, scaleY = 1.0;
    double dispX = 0.0, dispY = 0.0;
};

// The frame of a picture `factor` times the window's size showing the same view.
PictureFrame ScaledFrame(Host::API_3DWindowInfo const& window, int factor);

struct ScreenPoint {
    double x = 0.0, y = 0.0;
};

// depth must be positive.
ScreenPoint ToScreen(PictureFrame const& frame, double tanHalfCone, Vec3 cameraPoint);

} // namespace Velmora::Sim
