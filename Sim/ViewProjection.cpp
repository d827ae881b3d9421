#include "Sim/ViewProjection.hpp"

#include "Sim/SceneGeometry.hpp"

#include <cmath>

namespace Velmora::Sim {

namespace {

constexpr double kMinCone = 1e-3;
constexpr double kMaxCone = 3.1;

Vec3 Rotated(Vec3 v, Vec3 axis, double angle) {
    // Rodrigues' rotation of v about the unit axis.
    double const c = std::cos(angle), s = std::sin(angle);
    return Add(Add(Scale(v, c), Scale(Cross(axis, v), s)), Scale(axis, Dot(axis, v) * (1.0 - c)));
}

} // namespace

// A camera looking straight up or down has no horizon: its right vector then follows the
// azimuth, as the host's does.
ViewCamera MakeViewCamera(Host::API_PerspPars const& persp) {
    ViewCamera camera;
    camera.eye = {persp.pos.x, persp.pos.y, persp.cameraZ};
    Vec3 const target{persp.target.x, persp.target.y, persp.targetZ};
    camera.forward = Normalized(Sub(target, camera.eye));
    if (camera.forward.x == 0.0 && camera.forward.y == 0.0 && camera.forward.z == 0.0)
        camera.forward = {std::cos(persp.azimuth), std::sin(persp.azimuth), 0.0};
    Vec3 right = Cross(camera.forward, {0.0, 0.0, 1.0});
    if (Dot(right, right) < 1e-12)
        right = {std::sin(persp.azimuth), -std::cos(persp.azimuth), 0.0};
    right = Normalized(right);
    camera.right = Rotated(right, camera.forward, -persp.rollAngle);
    camera.up = Cross(camera.right, camera.forward);
    double const cone = std::fmin(std::fmax(persp.viewCone, kMinCone), kMaxCone);
    camera.tanHalfCone = std::tan(cone / 2.0);
    return camera;
}

Vec3 ToCameraSpace(ViewCamera const& camera, Vec3 world) {
    Vec3 const d = Sub(world, camera.eye);
    return {Dot(d, camera.right), Dot(d, camera.up), Dot(d, camera.forward)};
}

PictureFrame ScaledFrame(Host::API_3DWindowInfo const& window, int factor) {
    PictureFrame frame;
    frame.width = window.hSize * factor;
    frame.height = window.vSize * factor;
    frame.scaleX = window.zoomScaleX;
    frame.scaleY = window.zoomScaleY;
    frame.dispX = window.zoomDispX * factor;
    frame.dispY = window.zoomDispY * factor;
    return frame;
}

ScreenPoint ToScreen(PictureFrame const& frame, double tanHalfCone, Vec3 cameraPoint) {
    double const nx = cameraPoint.x / (cameraPoint.z * tanHalfCone);
    double const ny = cameraPoint.y / (cameraPoint.z * tanHalfCone);
    double const halfW = frame.width * 0.5, halfH = frame.height * 0.5;
    return {halfW * frame.scaleX * (1.0 + nx) + frame.dispX,
            halfH * frame.scaleY - halfW * frame.scaleY * ny - frame.dispY};
}

} // namespace Velmora::Sim
