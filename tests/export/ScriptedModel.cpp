#include "export/ScriptedModel.hpp"

#include <stdexcept>

namespace Velmora::Testing {

namespace {

struct ScriptFault : std::runtime_error {
    ScriptFault() : std::runtime_error("scripted model read failure") {}
};

class TextureSource : public MAPI::Texture::Source {
public:
    explicit TextureSource(ScriptTexture const& t) : t_(t) {}
    std::string GetName() const override { return "tex"; }
    Host::Int32 GetPixelMapXSize() const override { return t_.width; }
    Host::Int32 GetPixelMapYSize() const override { return t_.height; }
    void GetPixelMap(MAPI::ARGBPixel* out) const override {
        std::copy(t_.pixels.begin(), t_.pixels.end(), out);
    }
    bool HasAlphaChannel() const override { return t_.alpha; }

private:
    ScriptTexture const& t_;
};

class MaterialSource : public MAPI::Material::Source {
public:
    explicit MaterialSource(ScriptPolygon const& p) : p_(p) {}
    std::string GetName() const override { return p_.materialName; }
    MAPI::Color GetSurfaceColor() const override { return p_.color; }
    double GetTransparency() const override { return 0.0; }

private:
    ScriptPolygon const& p_;
};

class ConvexSource : public MAPI::ConvexPolygon::Source {
public:
    explicit ConvexSource(std::vector<int> const& corners) : corners_(corners) {}
    Host::Int32 GetVertexCount() const override { return Host::Int32(corners_.size()); }
    Host::Int32 GetVertexIndex(Host::Int32 i) const override { return corners_.at(i - 1); }
    MAPI::Vector GetNormalVectorByVertex(Host::Int32 i, MAPI::CoordinateSystem) const override {
        return {0.0, 0.0, double(i)}; // the corner number, so tests can follow each corner
    }

private:
    std::vector<int> const& corners_;
};

class PolygonSource : public MAPI::Polygon::Source {
public:
    explicit PolygonSource(ScriptPolygon const& p) : p_(p) {}
    void GetMaterialIndex(MAPI::AttributeIndex& i) const override {
        i = MAPI::AttributeIndex(p_.materialIndex);
    }
    void GetMaterial(MAPI::Material* m) const override {
        *m = MAPI::Material(std::make_shared<MaterialSource>(p_));
    }
    bool HasMaterialTexture() const override { return p_.textureIndex >= 0; }
    void GetMaterialTextureIndex(MAPI::AttributeIndex& i) const override {
        i = MAPI::AttributeIndex(p_.textureIndex);
    }
    void GetMaterialTexture(MAPI::Texture* t) const override {
        *t = MAPI::Texture(std::make_shared<TextureSource>(*p_.texture));
    }
    Host::Int32 GetConvexPolygonCount() const override { return Host::Int32(p_.convex.size()); }
    void GetConvexPolygon(Host::Int32 i, MAPI::ConvexPolygon* c) const override {
        if (p_.throwOnConvex && i == Host::Int32(p_.convex.size()))
            throw ScriptFault();
        *c = MAPI::ConvexPolygon(std::make_shared<ConvexSource>(p_.convex.at(i - 1)));
    }
    void GetTextureCoordinate(MAPI::Vertex const* v, MAPI::TextureCoordinate* uv) const override {
        if (p_.throwOnUv)
            throw ScriptFault();
        *uv = {v->x, v->y};
    }

private:
    ScriptPolygon const& p_;
};

class BodySource : public MAPI::MeshBody::Source {
public:
    explicit BodySource(ScriptBody const& b) : b_(b) {}
    Host::Int32 GetVertexCount() const override { return Host::Int32(b_.vertices.size()); }
    void GetVertex(Host::Int32 i, MAPI::Vertex* v, MAPI::CoordinateSystem) const override {
        *v = b_.vertices.at(i - 1);
    }
    Host::Int32 GetPolygonCount() const override { return Host::Int32(b_.polygons.size()); }
    void GetPolygon(Host::Int32 i, MAPI::Polygon* p) const override {
        *p = MAPI::Polygon(std::make_shared<PolygonSource>(b_.polygons.at(i - 1)));
    }

private:
    ScriptBody const& b_;
};

class ElementSource : public MAPI::Element::Source {
public:
    explicit ElementSource(std::shared_ptr<ScriptElement const> e) : e_(std::move(e)) {}
    bool IsInvalid() const override { return false; }
    Host::API_Guid GetElemGuid() const override { return {}; }
    MAPI::Element::Type GetType() const override { return e_->type; }
    Host::Int32 GetTessellatedBodyCount() const override {
        return e_->meshBodies ? 0 : Host::Int32(e_->bodies.size());
    }
    void GetTessellatedBody(Host::Int32 i, MAPI::MeshBody* b) const override { Body(i, b); }
    Host::Int32 GetMeshBodyCount() const override { return Host::Int32(e_->bodies.size()); }
    void GetMeshBody(Host::Int32 i, MAPI::MeshBody* b) const override { Body(i, b); }

private:
    void Body(Host::Int32 i, MAPI::MeshBody* b) const {
        if (e_->bodies.at(i - 1).throwOnFetch)
            throw ScriptFault();
        *b = MAPI::MeshBody(std::make_shared<BodySource>(e_->bodies.at(i - 1)));
    }
    std::shared_ptr<ScriptElement const> e_; // outlives the bodies handed out
};

class ModelSource : public MAPI::Model::Source {
public:
    explicit ModelSource(std::vector<ScriptElement> elements) {
        for (ScriptElement& e : elements)
            elements_.push_back(std::make_shared<ScriptElement const>(std::move(e)));
    }
    Host::Int32 GetElementCount() const override { return Host::Int32(elements_.size()); }
    void GetElement(Host::Int32 i, MAPI::Element* e) const override {
        *e = MAPI::Element(std::make_shared<ElementSource>(elements_.at(i - 1)));
    }

private:
    std::vector<std::shared_ptr<ScriptElement const>> elements_;
};

} // namespace

MAPI::Element MakeElement(ScriptElement element) {
    return MAPI::Element(
        std::make_shared<ElementSource>(std::make_shared<ScriptElement const>(std::move(element))));
}

MAPI::Model MakeModel(std::vector<ScriptElement> elements) {
    return MAPI::Model(std::make_shared<ModelSource>(std::move(elements)));
}

ScriptBody FlatQuad(double x0, double y0, double x1, double y1, double z) {
    ScriptBody body;
    body.vertices = {{x0, y0, z}, {x1, y0, z}, {x1, y1, z}, {x0, y1, z}};
    return body;
}

ScriptBody Upright(double x0, double y0, double x1, double y1) {
    ScriptBody body;
    body.vertices = {{x0, y0, 0}, {x1, y1, 0}, {x1, y1, 3}, {x0, y0, 3}};
    return body;
}

ScriptElement ElementOf(MAPI::Element::Type type, ScriptBody body) {
    return ScriptElement{type, {std::move(body)}};
}

} // namespace Velmora::Testing
