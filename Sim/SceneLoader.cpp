#include "Sim/SceneLoader.hpp"

#include "Host/Guid.hpp"
#include "Sim/SceneGeometry.hpp"
#include "Sim/SceneNames.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <initializer_list>
#include <map>
#include <set>
#include <sstream>

namespace Velmora::Sim {

namespace {

using nlohmann::json;

constexpr int kMaxTextureSide = 8192;
constexpr int kMaxGridCells = 4096;
constexpr std::size_t kMaxPoints = 64;

// A content error: the JSON pointer of the value and what is wrong with it.
struct ContentError {
    std::string pointer;
    std::string message;
};

// One JSON value and where it sits in the file.
class Node {
public:
    Node(json const& value, std::string pointer) : value_(value), pointer_(std::move(pointer)) {}

    [[noreturn]] void Fail(std::string const& message) const {
        throw ContentError{pointer_.empty() ? "/" : pointer_, message};
    }

    json const& Value() const { return value_; }
    std::string const& Pointer() const { return pointer_; }

    // An object that holds only the given keys.
    Node const& Object(std::initializer_list<char const*> keys) const {
        if (!value_.is_object())
            Fail("expected an object, found " + TypeName());
        for (auto const& item : value_.items()) {
            bool known = false;
            for (char const* key : keys)
                known = known || item.key() == key;
            if (!known)
                Child(item.key()).Fail("unknown key '" + item.key() + "'");
        }
        return *this;
    }

    bool Has(char const* key) const { return value_.contains(key); }

    Node Child(std::string const& key) const {
        return Node(value_.at(key), pointer_ + "/" + Escape(key));
    }

    Node Required(char const* key) const {
        if (!Has(key))
            Fail(std::string("missing required key '") + key + "'");
        return Child(key);
    }

    Node At(std::size_t index) const {
        return Node(value_.at(index), pointer_ + "/" + std::to_string(index));
    }

    std::size_t ArraySize(std::size_t min, std::size_t max) const {
        if (!value_.is_array())
            Fail("expected an array, found " + TypeName());
        if (value_.size() < min || value_.size() > max)
            Fail("expected " + std::to_string(min) +
                 (min == max ? "" : " to " + std::to_string(max)) + " entries, found " +
                 std::to_string(value_.size()));
        return value_.size();
    }

    double Number() const {
        if (!value_.is_number())
            Fail("expected a number, found " + TypeName());
        double const number = value_.get<double>();
        if (!std::isfinite(number) || std::fabs(number) > 1e7)
            Fail("number out of range");
        return number;
    }

    double NumberIn(double min, double max) const {
        double const number = Number();
        if (number < min || number > max) {
            std::ostringstream text;
            text << "expected a number from " << min << " to " << max << ", found " << number;
            Fail(text.str());
        }
        return number;
    }

    int Integer(int min, int max) const {
        if (!value_.is_number_integer())
            Fail("expected an integer, found " + TypeName());
        long long const number = value_.get<long long>();
        if (number < min || number > max)
            Fail("expected an integer from " + std::to_string(min) + " to " + std::to_string(max) +
                 ", found " + std::to_string(number));
        return static_cast<int>(number);
    }

    bool Boolean() const {
        if (!value_.is_boolean())
            Fail("expected true or false, found " + TypeName());
        return value_.get<bool>();
    }

    std::string String() const {
        if (!value_.is_string())
            Fail("expected a string, found " + TypeName());
        return value_.get<std::string>();
    }

    std::string TypeName() const { return value_.type_name(); }

private:
    static std::string Escape(std::string const& key) {
        std::string out;
        for (char c : key)
            out += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
        return out;
    }

    json const& value_;
    std::string pointer_;
};

// ---- Small values --------------------------------------------------------------------------

Vec3 ReadVec(Node const& node, std::size_t dims) {
    node.ArraySize(dims, dims);
    Vec3 v;
    v.x = node.At(0).Number();
    v.y = node.At(1).Number();
    if (dims == 3)
        v.z = node.At(2).Number();
    return v;
}

Host::ModelerAPI::Color ReadColor(Node const& node) {
    node.ArraySize(3, 3);
    return {node.At(0).NumberIn(0, 1), node.At(1).NumberIn(0, 1), node.At(2).NumberIn(0, 1)};
}

bool OptionalBool(Node const& node, char const* key, bool fallback) {
    return node.Has(key) ? node.Child(key).Boolean() : fallback;
}

double OptionalNumber(Node const& node, char const* key, double fallback) {
    return node.Has(key) ? node.Child(key).Number() : fallback;
}

template <typename Enum>
Enum Choose(Node const& node, std::initializer_list<std::pair<char const*, Enum>> choices) {
    std::string const text = node.String();
    std::string names;
    for (auto const& [name, value] : choices) {
        if (text == name)
            return value;
        names += std::string(names.empty() ? "" : ", ") + name;
    }
    node.Fail("unknown value '" + text + "' (expected one of " + names + ")");
}

// ---- Names to indices ----------------------------------------------------------------------

template <typename Item>
int IndexByName(std::vector<Item> const& items, Node const& node, char const* what) {
    std::string const name = node.String();
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (items[i].name == name)
            return static_cast<int>(i);
    }
    node.Fail(std::string("unknown ") + what + " '" + name + "'");
}

template <typename Item>
void CheckUniqueNames(std::vector<Item> const& items, Node const& list) {
    std::set<std::string> seen;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (!seen.insert(items[i].name).second)
            list.At(i).Child("name").Fail("duplicate name '" + items[i].name + "'");
    }
}

// ---- Textures and materials ----------------------------------------------------------------

SceneTexture ReadTexture(Node const& node) {
    node.Object({"name", "size", "pattern", "colors", "cell", "alpha"});
    SceneTexture texture;
    texture.name = node.Required("name").String();
    Node const size = node.Required("size");
    size.ArraySize(2, 2);
    texture.width = size.At(0).Integer(1, kMaxTextureSide);
    texture.height = size.At(1).Integer(1, kMaxTextureSide);
    texture.pattern =
        Choose<TexturePattern>(node.Required("pattern"), {{"solid", TexturePattern::Solid},
                                                          {"checker", TexturePattern::Checker},
                                                          {"bricks", TexturePattern::Bricks},
                                                          {"noise", TexturePattern::Noise},
                                                          {"leaf", TexturePattern::Leaf},
                                                          {"bump", TexturePattern::Bump}});
    Node const colors = node.Required("colors");
    colors.ArraySize(2, 2);
    texture.colors[0] = ReadColor(colors.At(0));
    texture.colors[1] = ReadColor(colors.At(1));
    if (node.Has("cell"))
        texture.cell = node.Child("cell").Integer(1, kMaxTextureSide);
    texture.alpha = OptionalBool(node, "alpha", false);
    return texture;
}

SceneMaterial ReadMaterial(Node const& node, std::vector<SceneTexture> const& textures) {
    node.Object({"name", "color", "transparency", "texture", "attribute"});
    SceneMaterial material;
    material.name = node.Required("name").String();
    material.color = ReadColor(node.Required("color"));
    if (node.Has("transparency"))
        material.transparency = node.Child("transparency").NumberIn(0, 1);
    if (node.Has("texture"))
        material.texture = IndexByName(textures, node.Child("texture"), "texture");
    material.attributeColor = material.color;
    material.attributeTranspPc = static_cast<int>(std::lround(material.transparency * 100.0));
    if (!node.Has("attribute"))
        return material;
    Node const attribute = node.Child("attribute");
    if (attribute.Value().is_boolean() && !attribute.Boolean()) {
        material.hasAttribute = false;
        return material;
    }
    attribute.Object({"color", "transparency"});
    if (attribute.Has("color"))
        material.attributeColor = ReadColor(attribute.Child("color"));
    if (attribute.Has("transparency"))
        material.attributeTranspPc = attribute.Child("transparency").Integer(0, 100);
    return material;
}

// ---- Shapes --------------------------------------------------------------------------------

UvSpec ReadUv(Node const& shape, UvMode fallback) {
    UvSpec uv;
    uv.mode = fallback;
    if (!shape.Has("uv"))
        return uv;
    Node const node = shape.Child("uv");
    node.Object({"mode", "size"});
    if (node.Has("mode"))
        uv.mode = Choose<UvMode>(node.Child("mode"), {{"box", UvMode::Box}, {"fit", UvMode::Fit}});
    if (node.Has("size")) {
        Node const size = node.Child("size");
        size.ArraySize(2, 2);
        uv.sizeU = size.At(0).NumberIn(1e-3, 1e6);
        uv.sizeV = size.At(1).NumberIn(1e-3, 1e6);
    }
    return uv;
}

void ReadBox(Node const& node, SceneShape& shape) {
    node.Object({"shape", "material", "uv", "min", "max", "center", "size", "rotation"});
    if (node.Has("min") || node.Has("max")) {
        shape.min = ReadVec(node.Required("min"), 3);
        shape.max = ReadVec(node.Required("max"), 3);
    } else {
        Vec3 const centre = ReadVec(node.Required("center"), 3);
        Vec3 const size = ReadVec(node.Required("size"), 3);
        shape.min = {centre.x - size.x / 2, centre.y - size.y / 2, centre.z - size.z / 2};
        shape.max = {centre.x + size.x / 2, centre.y + size.y / 2, centre.z + size.z / 2};
    }
    if (!(shape.min.x < shape.max.x && shape.min.y < shape.max.y && shape.min.z < shape.max.z))
        node.Fail("box has no volume: every min must be below its max");
    shape.rotationDeg = OptionalNumber(node, "rotation", 0.0);
}

std::vector<Vec3> ReadPoints(Node const& node, std::size_t dims) {
    std::size_t const count = node.ArraySize(3, kMaxPoints);
    std::vector<Vec3> points;
    for (std::size_t i = 0; i < count; ++i)
        points.push_back(ReadVec(node.At(i), dims));
    return points;
}

void ReadPrism(Node const& node, SceneShape& shape) {
    node.Object({"shape", "material", "uv", "points", "bottom", "top"});
    Node const points = node.Required("points");
    shape.points = ReadPoints(points, 2);
    if (!MakeCounterClockwiseConvex(shape.points))
        points.Fail("footprint is not a convex polygon");
    shape.bottom = node.Required("bottom").Number();
    shape.top = node.Required("top").Number();
    if (!(shape.bottom < shape.top))
        node.Child("top").Fail("top must be above bottom");
}

void ReadHeightfield(Node const& node, SceneShape& shape) {
    node.Object({"shape", "material", "uv", "origin", "size", "cells", "base", "slope", "waves"});
    Vec3 const origin = ReadVec(node.Required("origin"), 2);
    shape.originX = origin.x;
    shape.originY = origin.y;
    Node const size = node.Required("size");
    size.ArraySize(2, 2);
    shape.sizeX = size.At(0).NumberIn(1e-3, 1e6);
    shape.sizeY = size.At(1).NumberIn(1e-3, 1e6);
    Node const cells = node.Required("cells");
    cells.ArraySize(2, 2);
    shape.cellsX = cells.At(0).Integer(1, kMaxGridCells);
    shape.cellsY = cells.At(1).Integer(1, kMaxGridCells);
    shape.base = OptionalNumber(node, "base", 0.0);
    if (node.Has("slope")) {
        Vec3 const slope = ReadVec(node.Child("slope"), 2);
        shape.slopeX = slope.x;
        shape.slopeY = slope.y;
    }
    if (!node.Has("waves"))
        return;
    Node const waves = node.Child("waves");
    std::size_t const count = waves.ArraySize(0, 16);
    for (std::size_t i = 0; i < count; ++i) {
        Node const wave = waves.At(i);
        wave.Object({"amplitude", "period"});
        Node const period = wave.Required("period");
        period.ArraySize(2, 2);
        shape.waves.push_back({wave.Required("amplitude").Number(),
                               period.At(0).NumberIn(1e-3, 1e6), period.At(1).NumberIn(1e-3, 1e6)});
    }
}

void ReadBillboard(Node const& node, SceneShape& shape) {
    node.Object({"shape", "material", "uv", "position", "width", "height", "rotation", "crossed"});
    shape.position = ReadVec(node.Required("position"), 3);
    shape.width = node.Required("width").NumberIn(1e-3, 1e4);
    shape.height = node.Required("height").NumberIn(1e-3, 1e4);
    shape.rotationDeg = OptionalNumber(node, "rotation", 0.0);
    shape.crossed = OptionalBool(node, "crossed", false);
}

void ReadPolygon(Node const& node, SceneShape& shape) {
    node.Object({"shape", "material", "uv", "points"});
    Node const points = node.Required("points");
    shape.points = ReadPoints(points, 3);
    if (!IsPlanarConvex(shape.points))
        points.Fail("points do not form a flat convex polygon");
}

SceneShape ReadShape(Node const& node, std::vector<SceneMaterial> const& materials) {
    if (!node.Value().is_object())
        node.Fail("expected an object, found " + node.TypeName());
    SceneShape shape;
    shape.kind = Choose<ShapeKind>(node.Required("shape"), {{"box", ShapeKind::Box},
                                                            {"prism", ShapeKind::Prism},
                                                            {"heightfield", ShapeKind::Heightfield},
                                                            {"billboard", ShapeKind::Billboard},
                                                            {"polygon", ShapeKind::Polygon}});
    shape.material = IndexByName(materials, node.Required("material"), "material");
    switch (shape.kind) {
    case ShapeKind::Box:
        ReadBox(node, shape);
        break;
    case ShapeKind::Prism:
        ReadPrism(node, shape);
        break;
    case ShapeKind::Heightfield:
        ReadHeightfield(node, shape);
        break;
    case ShapeKind::Billboard:
        ReadBillboard(node, shape);
        break;
    case ShapeKind::Polygon:
        ReadPolygon(node, shape);
        break;
    }
    UvMode const fallback = shape.kind == ShapeKind::Billboard ? UvMode::Fit : UvMode::Box;
    shape.uv = ReadUv(node, fallback);
    return shape;
}

std::vector<SceneShape> ReadShapes(Node const& node, std::vector<SceneMaterial> const& materials) {
    std::size_t const count = node.ArraySize(0, 100000);
    std::vector<SceneShape> shapes;
    for (std::size_t i = 0; i < count; ++i)
        shapes.push_back(ReadShape(node.At(i), materials));
    return shapes;
}

// ---- Elements ------------------------------------------------------------------------------

// A fixed guid from the element's id (or position), so that runs and tests agree.
Host::API_Guid GeneratedGuid(std::string const& seed) {
    Host::API_Guid guid;
    std::uint64_t hash = 0xcbf29ce484222325ull;
    for (std::size_t i = 0; i < guid.bytes.size(); ++i) {
        for (char c : seed + static_cast<char>('a' + i))
            hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3ull;
        guid.bytes[i] = static_cast<std::uint8_t>(hash >> 24);
    }
    guid.bytes[7] = static_cast<std::uint8_t>((guid.bytes[7] & 0x0F) | 0x40); // version 4
    guid.bytes[8] = static_cast<std::uint8_t>((guid.bytes[8] & 0x3F) | 0x80);
    return guid;
}

SceneElement ReadElement(Node const& node, std::size_t index,
                         std::vector<SceneMaterial> const& materials) {
    node.Object(
        {"id", "guid", "type", "modelType", "layerVisible", "in3D", "owner", "shapes", "bodies"});
    SceneElement element;
    element.id = node.Has("id") ? node.Child("id").String() : "#" + std::to_string(index);
    Node const type = node.Required("type");
    auto const typeId = ElemTypeFromName(type.String());
    if (!typeId)
        type.Fail("unknown element type '" + type.String() + "'");
    element.type = *typeId;
    element.modelType = DefaultModelType(*typeId);
    if (node.Has("modelType")) {
        Node const modelType = node.Child("modelType");
        auto const model = ModelTypeFromName(modelType.String());
        if (!model)
            modelType.Fail("unknown model type '" + modelType.String() + "'");
        element.modelType = *model;
    }
    element.guid = GeneratedGuid(element.id);
    if (node.Has("guid")) {
        Node const guid = node.Child("guid");
        element.guid = Host::GuidFromString(guid.String());
        if (element.guid == Host::API_Guid{})
            guid.Fail("not a guid: '" + guid.String() + "'");
    }
    element.layerVisible = OptionalBool(node, "layerVisible", true);
    element.in3D = OptionalBool(node, "in3D", true);
    if (node.Has("shapes") && node.Has("bodies"))
        node.Fail("give either 'shapes' (one body) or 'bodies', not both");
    if (node.Has("shapes"))
        element.bodies.push_back(ReadShapes(node.Child("shapes"), materials));
    if (node.Has("bodies")) {
        Node const bodies = node.Child("bodies");
        std::size_t const count = bodies.ArraySize(0, 1000);
        for (std::size_t i = 0; i < count; ++i)
            element.bodies.push_back(ReadShapes(bodies.At(i), materials));
    }
    return element;
}

// Owners are named by id and may be declared later in the file; one level only.
void ResolveOwners(Scene& scene, Node const& list) {
    std::map<std::string, int> byId;
    std::set<std::array<std::uint8_t, 16>> guids;
    for (std::size_t i = 0; i < scene.elements.size(); ++i) {
        if (!byId.emplace(scene.elements[i].id, static_cast<int>(i)).second)
            list.At(i).Child("id").Fail("duplicate id '" + scene.elements[i].id + "'");
        if (!guids.insert(scene.elements[i].guid.bytes).second)
            list.At(i).Fail("duplicate guid " + Host::GuidToString(scene.elements[i].guid));
    }
    for (std::size_t i = 0; i < scene.elements.size(); ++i) {
        Node const node = list.At(i);
        if (!node.Has("owner"))
            continue;
        Node const owner = node.Child("owner");
        auto const found = byId.find(owner.String());
        if (found == byId.end())
            owner.Fail("unknown owner '" + owner.String() + "'");
        if (found->second == static_cast<int>(i) ||
            list.At(static_cast<std::size_t>(found->second)).Has("owner"))
            owner.Fail("an owner must be another element without an owner of its own");
        scene.elements[i].owner = found->second;
    }
}

void CheckSize(Scene const& scene, Node const& root) {
    long long triangles = 0;
    for (SceneElement const& element : scene.elements) {
        for (auto const& body : element.bodies) {
            for (SceneShape const& shape : body)
                triangles += ShapeTriangleCount(shape);
        }
    }
    if (triangles > kMaxSceneTriangles)
        root.Fail("scene too large: " + std::to_string(triangles) + " triangles (at most " +
                  std::to_string(kMaxSceneTriangles) + ")");
}

void ReadProject(Node const& root, Scene& scene) {
    Node const project = root.Required("project");
    project.Object({"file", "untitled"});
    scene.untitled = OptionalBool(project, "untitled", false);
    if (!scene.untitled)
        scene.projectFile = project.Required("file").String();
    if (!root.Has("window"))
        return;
    Node const window = root.Child("window");
    window.Object({"type", "name"});
    scene.windowName = window.Has("name") ? window.Child("name").String() : std::string();
    if (window.Has("type"))
        scene.windowType = Choose<Host::API_WindowTypeID>(
            window.Child("type"), {{"3d", Host::APIWind_3DModelID},
                                   {"floorPlan", Host::APIWind_FloorPlanID},
                                   {"section", Host::APIWind_SectionID},
                                   {"detail", Host::APIWind_DetailID},
                                   {"layout", Host::APIWind_LayoutID},
                                   {"elevation", Host::APIWind_ElevationID}});
}

Scene ReadScene(json const& document, std::string const& name) {
    Node const root(document, "");
    root.Object({"project", "window", "textures", "materials", "elements"});
    Scene scene;
    scene.name = name;
    ReadProject(root, scene);
    if (root.Has("textures")) {
        Node const list = root.Child("textures");
        for (std::size_t i = 0, n = list.ArraySize(0, 4096); i < n; ++i)
            scene.textures.push_back(ReadTexture(list.At(i)));
        CheckUniqueNames(scene.textures, list);
    }
    Node const materials = root.Required("materials");
    for (std::size_t i = 0, n = materials.ArraySize(0, 4096); i < n; ++i)
        scene.materials.push_back(ReadMaterial(materials.At(i), scene.textures));
    CheckUniqueNames(scene.materials, materials);
    Node const elements = root.Required("elements");
    for (std::size_t i = 0, n = elements.ArraySize(0, 100000); i < n; ++i)
        scene.elements.push_back(ReadElement(elements.At(i), i, scene.materials));
    ResolveOwners(scene, elements);
    CheckSize(scene, root);
    return scene;
}

// "parse error at line 3, column 5: syntax error ..." -> "syntax error ...".
std::string ParseErrorText(nlohmann::json::parse_error const& e) {
    std::string text = e.what();
    std::size_t const column = text.find("column ");
    std::size_t const colon =
        column == std::string::npos ? text.find("] ") : text.find(": ", column);
    return colon == std::string::npos ? text : text.substr(colon + 2);
}

std::size_t LineOf(std::string const& text, std::size_t byte) {
    std::size_t const end = std::min(text.size(), byte > 0 ? byte - 1 : 0);
    return 1 + static_cast<std::size_t>(
                   std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n'));
}

} // namespace

std::optional<Scene> ParseScene(std::string const& text, std::string const& name,
                                std::string& error) {
    json document;
    try {
        document = json::parse(text);
    } catch (json::parse_error const& e) {
        error = name + ":" + std::to_string(LineOf(text, e.byte)) +
                ": not valid JSON: " + ParseErrorText(e);
        return std::nullopt;
    } catch (json::exception const& e) {
        // A number too large for a double (2e410) is refused while parsing, not as syntax.
        error = name + ": not valid JSON: " + e.what();
        return std::nullopt;
    }
    try {
        return ReadScene(document, name);
    } catch (ContentError const& e) {
        error = name + ": " + e.pointer + ": " + e.message;
    }
    return std::nullopt;
}

std::optional<Scene> LoadSceneFile(std::string const& path, std::string& error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = path + ": cannot open the scene file";
        return std::nullopt;
    }
    std::ostringstream text;
    text << in.rdbuf();
    return ParseScene(text.str(), path, error);
}

} // namespace Velmora::Sim
