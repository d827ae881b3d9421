#include "Sim/RenderableScene.hpp"

#include "Sim/SceneGeometry.hpp"
#include "Sim/SceneMesh.hpp"
#include "Sim/SceneNames.hpp"
#include "Sim/TexturePixels.hpp"

namespace Velmora::Sim {

namespace {

void AddConvex(MeshBodyData const& body, MeshPolygon const& polygon, MeshConvex const& convex,
               int element, std::vector<RenderTriangle>& out) {
    UvMap const& uv = body.uvMaps[static_cast<std::size_t>(polygon.uvMap)];
    auto const corner = [&](std::int32_t i) {
        return body.vertices[static_cast<std::size_t>(
            body.corners[static_cast<std::size_t>(convex.firstCorner + i)].vertex)];
    };
    // A fan over the convex polygon.
    for (std::int32_t i = 1; i + 1 < convex.cornerCount; ++i) {
        RenderTriangle triangle;
        triangle.corners = {corner(0), corner(i), corner(i + 1)};
        Vec3 const normal = Cross(Sub(triangle.corners[1], triangle.corners[0]),
                                  Sub(triangle.corners[2], triangle.corners[0]));
        if (Dot(normal, normal) <= 0.0)
            continue;
        triangle.normal = Normalized(normal);
        for (std::size_t k = 0; k < 3; ++k) {
            Vec3 const d = Sub(triangle.corners[k], uv.origin);
            triangle.u[k] = Dot(d, uv.u);
            triangle.v[k] = Dot(d, uv.v);
        }
        triangle.element = element;
        triangle.material = polygon.material;
        triangle.texture = polygon.texture;
        out.push_back(triangle);
    }
}

void AddElement(Scene const& scene, std::size_t index, std::vector<RenderTriangle>& out) {
    for (MeshBodyData const& body : TessellateElement(scene, scene.elements[index])) {
        for (MeshPolygon const& polygon : body.polygons) {
            for (std::int32_t c = 0; c < polygon.convexCount; ++c)
                AddConvex(body, polygon,
                          body.convexes[static_cast<std::size_t>(polygon.firstConvex + c)],
                          static_cast<int>(index), out);
        }
    }
}

} // namespace

bool IsShownIn3D(Scene const& scene, SceneElement const& element) {
    SceneElement const* layerHolder = &element;
    if (UsesOwnersLayer(element.type) && element.owner >= 0)
        layerHolder = &scene.elements[static_cast<std::size_t>(element.owner)];
    return element.in3D && layerHolder->layerVisible && !element.bodies.empty();
}

RenderableScene MakeRenderableScene(Scene const& scene) {
    RenderableScene renderable;
    for (std::size_t i = 0; i < scene.elements.size(); ++i) {
        if (IsShownIn3D(scene, scene.elements[i]))
            AddElement(scene, i, renderable.triangles);
    }
    for (SceneTexture const& texture : scene.textures) {
        TextureImage image;
        image.width = texture.width;
        image.height = texture.height;
        image.pixels.resize(static_cast<std::size_t>(texture.width) *
                            static_cast<std::size_t>(texture.height));
        FillTexturePixels(texture, image.pixels.data());
        renderable.textures.push_back(std::move(image));
    }
    return renderable;
}

} // namespace Velmora::Sim
