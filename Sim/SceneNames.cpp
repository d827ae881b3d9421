#include "Sim/SceneNames.hpp"

#include <cstring>

namespace Velmora::Sim {

namespace {

using Host::API_ElemTypeID;
using MType = Host::ModelerAPI::Element::Type;
using ME = Host::ModelerAPI::Element;

struct ElemTypeRow {
    char const* name;
    API_ElemTypeID type;
    MType modelType;
};

constexpr ElemTypeRow kElemTypes[] = {
    {"wall", Host::API_WallID, ME::WallElement},
    {"column", Host::API_ColumnID, ME::ColumnElement},
    {"beam", Host::API_BeamID, ME::BeamElement},
    {"window", Host::API_WindowID, ME::WindowElement},
    {"door", Host::API_DoorID, ME::DoorElement},
    {"object", Host::API_ObjectID, ME::ObjectElement},
    {"lamp", Host::API_LampID, ME::LightElement},
    {"slab", Host::API_SlabID, ME::SlabElement},
    {"roof", Host::API_RoofID, ME::RoofElement},
    {"mesh", Host::API_MeshID, ME::MeshElement},
    {"zone", Host::API_ZoneID, ME::RoomElement},
    {"hatch", Host::API_HatchID, ME::UndefinedElement},
    {"line", Host::API_LineID, ME::UndefinedElement},
    {"text", Host::API_TextID, ME::UndefinedElement},
    {"curtainWall", Host::API_CurtainWallID, ME::CurtainWallElement},
    {"curtainWallSegment", Host::API_CurtainWallSegmentID, ME::CWSegmentElement},
    {"curtainWallFrame", Host::API_CurtainWallFrameID, ME::CWFrameElement},
    {"curtainWallPanel", Host::API_CurtainWallPanelID, ME::CWPanelElement},
    {"curtainWallJunction", Host::API_CurtainWallJunctionID, ME::CWJunctionElement},
    {"curtainWallAccessory", Host::API_CurtainWallAccessoryID, ME::CWAccessoryElement},
    {"shell", Host::API_ShellID, ME::ShellElement},
    {"skylight", Host::API_SkylightID, ME::SkylightElement},
    {"morph", Host::API_MorphID, ME::FreeshapeElement},
    {"stair", Host::API_StairID, ME::StairElement},
    {"riser", Host::API_RiserID, ME::RiserElement},
    {"tread", Host::API_TreadID, ME::TreadElement},
    {"stairStructure", Host::API_StairStructureID, ME::StairStructureElement},
    {"railing", Host::API_RailingID, ME::RailingElement},
    {"railingToprail", Host::API_RailingToprailID, ME::ToprailElement},
    {"railingHandrail", Host::API_RailingHandrailID, ME::HandrailElement},
    {"railingRail", Host::API_RailingRailID, ME::RailElement},
    {"railingPost", Host::API_RailingPostID, ME::RailingPostElement},
    {"railingInnerPost", Host::API_RailingInnerPostID, ME::InnerPostElement},
    {"railingBaluster", Host::API_RailingBalusterID, ME::BalusterElement},
    {"railingPanel", Host::API_RailingPanelID, ME::RailingPanelElement},
    {"railingSegment", Host::API_RailingSegmentID, ME::RailingSegmentElement},
    {"railingNode", Host::API_RailingNodeID, ME::RailingNodeElement},
    {"railingBalusterSet", Host::API_RailingBalusterSetID, ME::BalusterSetElement},
    {"railingPattern", Host::API_RailingPatternID, ME::RailPatternElement},
    {"railingToprailEnd", Host::API_RailingToprailEndID, ME::InnerTopRailEndElement},
    {"railingHandrailEnd", Host::API_RailingHandrailEndID, ME::InnerHandRailEndElement},
    {"railingRailEnd", Host::API_RailingRailEndID, ME::RailEndElement},
    {"railingToprailConnection", Host::API_RailingToprailConnectionID,
     ME::TopRailConnectionElement},
    {"railingHandrailConnection", Host::API_RailingHandrailConnectionID,
     ME::HandRailConnectionElement},
    {"railingRailConnection", Host::API_RailingRailConnectionID, ME::RailConnectionElement},
    {"railingEndFinish", Host::API_RailingEndFinishID, ME::RailFinishingObjectElement},
    {"beamSegment", Host::API_BeamSegmentID, ME::BeamSegmentElement},
    {"columnSegment", Host::API_ColumnSegmentID, ME::ColumnSegmentElement},
    {"opening", Host::API_OpeningID, ME::Opening},
};

struct ModelTypeRow {
    char const* name;
    MType type;
};

constexpr ModelTypeRow kModelTypes[] = {
    {"UndefinedElement", ME::UndefinedElement},
    {"WallElement", ME::WallElement},
    {"SlabElement", ME::SlabElement},
    {"RoofElement", ME::RoofElement},
    {"CurtainWallElement", ME::CurtainWallElement},
    {"CWFrameElement", ME::CWFrameElement},
    {"CWPanelElement", ME::CWPanelElement},
    {"CWJunctionElement", ME::CWJunctionElement},
    {"CWAccessoryElement", ME::CWAccessoryElement},
    {"CWSegmentElement", ME::CWSegmentElement},
    {"ShellElement", ME::ShellElement},
    {"SkylightElement", ME::SkylightElement},
    {"FreeshapeElement", ME::FreeshapeElement},
    {"DoorElement", ME::DoorElement},
    {"WindowElement", ME::WindowElement},
    {"ObjectElement", ME::ObjectElement},
    {"LightElement", ME::LightElement},
    {"ColumnElement", ME::ColumnElement},
    {"MeshElement", ME::MeshElement},
    {"BeamElement", ME::BeamElement},
    {"RoomElement", ME::RoomElement},
    {"StairElement", ME::StairElement},
    {"RiserElement", ME::RiserElement},
    {"TreadElement", ME::TreadElement},
    {"StairStructureElement", ME::StairStructureElement},
    {"RailingElement", ME::RailingElement},
    {"ToprailElement", ME::ToprailElement},
    {"HandrailElement", ME::HandrailElement},
    {"RailElement", ME::RailElement},
    {"RailingPostElement", ME::RailingPostElement},
    {"InnerPostElement", ME::InnerPostElement},
    {"BalusterElement", ME::BalusterElement},
    {"RailingPanelElement", ME::RailingPanelElement},
    {"RailingSegmentElement", ME::RailingSegmentElement},
    {"RailingNodeElement", ME::RailingNodeElement},
    {"RailPatternElement", ME::RailPatternElement},
    {"InnerTopRailEndElement", ME::InnerTopRailEndElement},
    {"InnerHandRailEndElement", ME::InnerHandRailEndElement},
    {"RailFinishingObjectElement", ME::RailFinishingObjectElement},
    {"TopRailConnectionElement", ME::TopRailConnectionElement},
    {"HandRailConnectionElement", ME::HandRailConnectionElement},
    {"RailConnectionElement", ME::RailConnectionElement},
    {"RailEndElement", ME::RailEndElement},
    {"BalusterSetElement", ME::BalusterSetElement},
    {"Opening", ME::Opening},
    {"Openingframeinfill", ME::Openingframeinfill},
    {"Openingpatchinfill", ME::Openingpatchinfill},
    {"ColumnSegmentElement", ME::ColumnSegmentElement},
    {"BeamSegmentElement", ME::BeamSegmentElement},
    {"OtherElement", ME::OtherElement},
};

// The types the host documents its "has 3D" filter for.
constexpr API_ElemTypeID kIn3DTypes[] = {
    Host::API_WallID,        Host::API_ColumnID,   Host::API_BeamID,   Host::API_WindowID,
    Host::API_DoorID,        Host::API_SkylightID, Host::API_ObjectID, Host::API_LampID,
    Host::API_SlabID,        Host::API_RoofID,     Host::API_MeshID,   Host::API_ShellID,
    Host::API_CurtainWallID, Host::API_MorphID,
};

} // namespace

std::optional<API_ElemTypeID> ElemTypeFromName(std::string const& name) {
    for (ElemTypeRow const& row : kElemTypes) {
        if (name == row.name)
            return row.type;
    }
    return std::nullopt;
}

std::optional<MType> ModelTypeFromName(std::string const& name) {
    for (ModelTypeRow const& row : kModelTypes) {
        if (name == row.name)
            return row.type;
    }
    return std::nullopt;
}

MType DefaultModelType(API_ElemTypeID type) {
    for (ElemTypeRow const& row : kElemTypes) {
        if (type == row.type)
            return row.modelType;
    }
    return ME::OtherElement;
}

bool CanPassIn3DFilter(API_ElemTypeID type) {
    for (API_ElemTypeID valid : kIn3DTypes) {
        if (type == valid)
            return true;
    }
    return false;
}

bool UsesOwnersLayer(API_ElemTypeID type) {
    return type == Host::API_DoorID || type == Host::API_WindowID || type == Host::API_SkylightID;
}

} // namespace Velmora::Sim
