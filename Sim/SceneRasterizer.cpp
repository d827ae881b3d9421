#include "Sim/SceneRasterizer.hpp"

#include "Sim/SceneGeometry.hpp"

#include <algorithm>
#include <cmath>

namespace Velmora::Sim {

namespace {

constexpr double kNearDepth = 0.05;      // metres in front of the eye
constexpr double kSubpixels = 256.0;     // vertex snapping grid, per pixel
constexpr std::int64_t kHalfPixel = 128; // pixel centres, in subpixels
constexpr double kGuardBand = 1 << 20;   // pixels; keeps edge products inside 64 bits
constexpr double kAmbient = 0.45;
constexpr double kDiffuse = 0.55;
constexpr unsigned char kCutOutAlpha = 32; // texels below are holes (leaves of a billboard)
constexpr std::size_t kMaxPolygon = 12;

// Towards the sun: south-west and high.
Vec3 const kLight = Normalized({-0.45, -0.6, 0.66});

struct ClipVertex {
    double x = 0, y = 0, z = 0; // camera space, or screen x, y with z = 1 / depth
    double u = 0, v = 0;        // texture coordinates (divided by depth once on screen)
};

struct Polygon2 {
    ClipVertex v[kMaxPolygon];
    std::size_t count = 0;
};

ClipVertex Lerp(ClipVertex const& a, ClipVertex const& b, double t) {
    return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, a.z + (b.z - a.z) * t,
            a.u + (b.u - a.u) * t, a.v + (b.v - a.v) * t};
}

// Keeps the part where distance(vertex) >= 0 (Sutherland-Hodgman against one plane).
template <typename Distance>
Polygon2 ClipAgainst(Polygon2 const& in, Distance distance) {
    Polygon2 out;
    for (std::size_t i = 0; i < in.count; ++i) {
        ClipVertex const& a = in.v[i];
        ClipVertex const& b = in.v[(i + 1) % in.count];
        double const da = distance(a), db = distance(b);
        if (da >= 0.0 && out.count < kMaxPolygon)
            out.v[out.count++] = a;
        if ((da >= 0.0) != (db >= 0.0) && out.count < kMaxPolygon)
            out.v[out.count++] = Lerp(a, b, da / (da - db));
    }
    return out;
}

// Everything the pixel loop needs about one triangle's surface.
struct Surface {
    std::int32_t element = -1;
    Rgb color;
    double shade = 1.0;
    TextureImage const* texture = nullptr;
    bool textureColors = false; // false: the texture only cuts out
    double opacity = 1.0;
};

class Target {
public:
    Target(int width, int height, Rgb background);

    void DrawPolygon(Polygon2 const& screen, Surface const& surface);
    RenderedPicture Take() { return std::move(picture_); }

private:
    void DrawTriangle(ClipVertex const& a, ClipVertex const& b, ClipVertex const& c,
                      Surface const& surface);
    // False for a cut-out texel, where nothing is drawn.
    bool ShadePixel(std::size_t index, double u, double v, Surface const& surface);

    RenderedPicture picture_;
    std::vector<float> depth_; // 1 / depth; 0 is infinitely far
};

Target::Target(int width, int height, Rgb background) {
    picture_.width = width;
    picture_.height = height;
    std::size_t const pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    picture_.rgb.resize(pixels * 3);
    unsigned char const sky[3] = {static_cast<unsigned char>(background.red * 255.0 + 0.5),
                                  static_cast<unsigned char>(background.green * 255.0 + 0.5),
                                  static_cast<unsigned char>(background.blue * 255.0 + 0.5)};
    for (std::size_t i = 0; i < pixels; ++i)
        std::copy(sky, sky + 3, picture_.rgb.begin() + static_cast<std::ptrdiff_t>(i * 3));
    picture_.elementIds.assign(pixels, -1);
    depth_.assign(pixels, 0.0f);
}

void Target::DrawPolygon(Polygon2 const& screen, Surface const& surface) {
    for (std::size_t i = 1; i + 1 < screen.count; ++i)
        DrawTriangle(screen.v[0], screen.v[i], screen.v[i + 1], surface);
}

struct Edge {
    std::int64_t stepX = 0, stepY = 0, atOrigin = 0; // value = stepX * px + stepY * py + origin
    std::int64_t bias = 0;                           // 0 on owning edges, 1 elsewhere
};

// E(p) = (x1 - x0) (py - y0) - (y1 - y0) (px - x0), in subpixels. Of two triangles sharing
// an edge exactly one owns it, so a pixel centre on it is drawn once.
Edge MakeEdge(std::int64_t x0, std::int64_t y0, std::int64_t x1, std::int64_t y1) {
    Edge edge;
    std::int64_t const dx = x1 - x0, dy = y1 - y0;
    edge.stepX = -dy;
    edge.stepY = dx;
    edge.atOrigin = dy * x0 - dx * y0;
    bool const owning = dy > 0 || (dy == 0 && dx < 0);
    edge.bias = owning ? 0 : 1;
    return edge;
}

void Target::DrawTriangle(ClipVertex const& a, ClipVertex const& b, ClipVertex const& c,
                          Surface const& surface) {
    ClipVertex const* v[3] = {&a, &b, &c};
    std::int64_t x[3], y[3];
    for (int i = 0; i < 3; ++i) {
        x[i] = std::llround(v[i]->x * kSubpixels);
        y[i] = std::llround(v[i]->y * kSubpixels);
    }
    std::int64_t area = (x[1] - x[0]) * (y[2] - y[0]) - (y[1] - y[0]) * (x[2] - x[0]);
    if (area == 0)
        return;
    if (area < 0) {
        std::swap(v[1], v[2]);
        std::swap(x[1], x[2]);
        std::swap(y[1], y[2]);
        area = -area;
    }
    Edge const e0 = MakeEdge(x[1], y[1], x[2], y[2]); // weight of vertex 0
    Edge const e1 = MakeEdge(x[2], y[2], x[0], y[0]);
    Edge const e2 = MakeEdge(x[0], y[0], x[1], y[1]);
    auto const firstPixel = [](std::int64_t lo) {
        // The first pixel whose centre (p * 256 + 128) is at or after lo.
        std::int64_t const shifted = lo - kHalfPixel;
        return shifted <= 0 ? -((-shifted) / 256) : (shifted + 255) / 256;
    };
    auto const lastPixel = [](std::int64_t hi) {
        std::int64_t const shifted = hi - kHalfPixel;
        return shifted >= 0 ? shifted / 256 : -((-shifted + 255) / 256);
    };
    std::int64_t const minX = std::max<std::int64_t>(0, firstPixel(std::min({x[0], x[1], x[2]})));
    std::int64_t const maxX =
        std::min<std::int64_t>(picture_.width - 1, lastPixel(std::max({x[0], x[1], x[2]})));
    std::int64_t const minY = std::max<std::int64_t>(0, firstPixel(std::min({y[0], y[1], y[2]})));
    std::int64_t const maxY =
        std::min<std::int64_t>(picture_.height - 1, lastPixel(std::max({y[0], y[1], y[2]})));
    double const inverseArea = 1.0 / static_cast<double>(area);
    std::int64_t const startX = minX * 256 + kHalfPixel;
    for (std::int64_t py = minY; py <= maxY; ++py) {
        std::int64_t const cy = py * 256 + kHalfPixel;
        // Edge values at the row's first pixel centre, then stepped one pixel at a time.
        std::int64_t w0 = e0.stepX * startX + e0.stepY * cy + e0.atOrigin - e0.bias;
        std::int64_t w1 = e1.stepX * startX + e1.stepY * cy + e1.atOrigin - e1.bias;
        std::int64_t w2 = e2.stepX * startX + e2.stepY * cy + e2.atOrigin - e2.bias;
        std::size_t index =
            static_cast<std::size_t>(py) * static_cast<std::size_t>(picture_.width) +
            static_cast<std::size_t>(minX);
        for (std::int64_t px = minX; px <= maxX;
             ++px, ++index, w0 += e0.stepX * 256, w1 += e1.stepX * 256, w2 += e2.stepX * 256) {
            if ((w0 | w1 | w2) < 0)
                continue;
            double const b0 = static_cast<double>(w0 + e0.bias) * inverseArea;
            double const b1 = static_cast<double>(w1 + e1.bias) * inverseArea;
            double const b2 = static_cast<double>(w2 + e2.bias) * inverseArea;
            double const inverseDepth = b0 * v[0]->z + b1 * v[1]->z + b2 * v[2]->z;
            if (!(static_cast<float>(inverseDepth) > depth_[index]))
                continue;
            double u = 0.0, tv = 0.0;
            if (surface.texture != nullptr) {
                u = (b0 * v[0]->u + b1 * v[1]->u + b2 * v[2]->u) / inverseDepth;
                tv = (b0 * v[0]->v + b1 * v[1]->v + b2 * v[2]->v) / inverseDepth;
            }
            if (ShadePixel(index, u, tv, surface))
                depth_[index] = static_cast<float>(inverseDepth);
        }
    }
}

Host::ModelerAPI::ARGBPixel Texel(TextureImage const& texture, double u, double v) {
    double const fu = u - std::floor(u), fv = v - std::floor(v);
    int const tx = std::min(texture.width - 1, static_cast<int>(fu * texture.width));
    int const ty = std::min(texture.height - 1, static_cast<int>((1.0 - fv) * texture.height));
    return texture.pixels[static_cast<std::size_t>(std::max(0, ty)) *
                              static_cast<std::size_t>(texture.width) +
                          static_cast<std::size_t>(std::max(0, tx))];
}

unsigned char Channel(double value) {
    return static_cast<unsigned char>(std::clamp(value, 0.0, 1.0) * 255.0 + 0.5);
}

bool Target::ShadePixel(std::size_t index, double u, double v, Surface const& surface) {
    Rgb color = surface.color;
    if (surface.texture != nullptr && !surface.texture->pixels.empty()) {
        Host::ModelerAPI::ARGBPixel const texel = Texel(*surface.texture, u, v);
        if (texel.alpha < kCutOutAlpha)
            return false;
        if (surface.textureColors)
            color = {texel.red / 255.0, texel.green / 255.0, texel.blue / 255.0};
    }
    unsigned char* out = picture_.rgb.data() + index * 3;
    double const channels[3] = {color.red, color.green, color.blue};
    for (int k = 0; k < 3; ++k) {
        double const lit = channels[k] * surface.shade;
        out[k] = surface.opacity >= 1.0
                     ? Channel(lit)
                     : Channel(lit * surface.opacity + out[k] / 255.0 * (1.0 - surface.opacity));
    }
    picture_.elementIds[index] = surface.element;
    return true;
}

Surface MakeSurface(Scene const& scene, RenderableScene const& renderable,
                    RenderRequest const& request, RenderTriangle const& triangle,
                    Vec3 towardsViewer) {
    Surface surface;
    surface.element = triangle.element;
    Vec3 normal = triangle.normal;
    if (Dot(normal, towardsViewer) < 0.0)
        normal = Scale(normal, -1.0);
    surface.shade = ShadeFactor(normal);
    if (triangle.texture >= 0 &&
        static_cast<std::size_t>(triangle.texture) < renderable.textures.size())
        surface.texture = &renderable.textures[static_cast<std::size_t>(triangle.texture)];
    auto const element = static_cast<std::size_t>(triangle.element);
    if (element < request.paint.size() && request.paint[element].flat) {
        surface.color = *request.paint[element].flat;
        return surface;
    }
    if (triangle.material >= 0) {
        SceneMaterial const& material =
            scene.materials[static_cast<std::size_t>(triangle.material)];
        surface.color = {material.color.red, material.color.green, material.color.blue};
        surface.opacity = 1.0 - std::clamp(material.transparency, 0.0, 1.0);
    }
    surface.textureColors = true;
    return surface;
}

// Camera space -> near clip -> screen (x, y, 1/depth, u/depth, v/depth) -> guard band.
Polygon2 ProjectTriangle(RenderRequest const& request, RenderTriangle const& triangle) {
    Polygon2 camera;
    for (std::size_t k = 0; k < 3; ++k) {
        Vec3 const p = ToCameraSpace(request.camera, triangle.corners[k]);
        camera.v[camera.count++] = {p.x, p.y, p.z, triangle.u[k], triangle.v[k]};
    }
    Polygon2 const visible =
        ClipAgainst(camera, [](ClipVertex const& p) { return p.z - kNearDepth; });
    Polygon2 screen;
    for (std::size_t i = 0; i < visible.count; ++i) {
        ClipVertex const& p = visible.v[i];
        ScreenPoint const s = ToScreen(request.frame, request.camera.tanHalfCone, {p.x, p.y, p.z});
        screen.v[screen.count++] = {s.x, s.y, 1.0 / p.z, p.u / p.z, p.v / p.z};
    }
    screen = ClipAgainst(screen, [](ClipVertex const& p) { return kGuardBand + p.x; });
    screen = ClipAgainst(screen, [](ClipVertex const& p) { return kGuardBand - p.x; });
    screen = ClipAgainst(screen, [](ClipVertex const& p) { return kGuardBand + p.y; });
    return ClipAgainst(screen, [](ClipVertex const& p) { return kGuardBand - p.y; });
}

} // namespace

double ShadeFactor(Vec3 normal) {
    return kAmbient + kDiffuse * std::max(0.0, Dot(normal, kLight));
}

RenderedPicture Rasterize(Scene const& scene, RenderableScene const& renderable,
                          RenderRequest const& request) {
    Target target(request.frame.width, request.frame.height, request.background);
    std::vector<Surface> surfaces;
    surfaces.reserve(renderable.triangles.size());
    for (RenderTriangle const& triangle : renderable.triangles) {
        Vec3 const towardsViewer = Sub(request.camera.eye, triangle.corners[0]);
        surfaces.push_back(MakeSurface(scene, renderable, request, triangle, towardsViewer));
    }
    // Opaque surfaces first, so that transparent ones blend over what lies behind them.
    for (int pass = 0; pass < 2; ++pass) {
        for (std::size_t i = 0; i < surfaces.size(); ++i) {
            if ((surfaces[i].opacity < 1.0) != (pass == 1))
                continue;
            Polygon2 const screen = ProjectTriangle(request, renderable.triangles[i]);
            if (screen.count >= 3)
                target.DrawPolygon(screen, surfaces[i]);
        }
    }
    return target.Take();
}

RenderedPicture DownsampleByTwo(RenderedPicture const& picture) {
    RenderedPicture small;
    small.width = picture.width / 2;
    small.height = picture.height / 2;
    std::size_t const pixels = static_cast<std::size_t>(small.width) * small.height;
    small.rgb.resize(pixels * 3);
    small.elementIds.resize(pixels);
    auto const at = [&](int x, int y) {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
               static_cast<std::size_t>(x);
    };
    for (int y = 0; y < small.height; ++y) {
        for (int x = 0; x < small.width; ++x) {
            std::size_t const out = static_cast<std::size_t>(y) * small.width + x;
            std::size_t const corners[4] = {at(2 * x, 2 * y), at(2 * x + 1, 2 * y),
                                            at(2 * x, 2 * y + 1), at(2 * x + 1, 2 * y + 1)};
            for (int k = 0; k < 3; ++k) {
                int sum = 0;
                for (std::size_t corner : corners)
                    sum += picture.rgb[corner * 3 + static_cast<std::size_t>(k)];
                small.rgb[out * 3 + static_cast<std::size_t>(k)] =
                    static_cast<unsigned char>((sum + 2) / 4);
            }
            small.elementIds[out] = picture.elementIds[corners[0]];
        }
    }
    return small;
}

} // namespace Velmora::Sim
