// Stand-in written from archicad-api.md: ModelerAPI::Element (section 4.3), with the element
// types as DevKit 28 numbers them.
#pragma once

#include "GSGuid.hpp"
#include "ModelMeshBody.hpp"

namespace ModelerAPI {

class Element {
public:
    enum Type {
        UndefinedElement = 0,
        WallElement = 1,
        SlabElement = 2,
        RoofElement = 3,
        CurtainWallElement = 4,
        CWFrameElement = 5,
        CWPanelElement = 6,
        CWJunctionElement = 7,
        CWAccessoryElement = 8,
        CWSegmentElement = 9,
        ShellElement = 10,
        SkylightElement = 11,
        FreeshapeElement = 12,
        DoorElement = 13,
        WindowElement = 14,
        ObjectElement = 15,
        LightElement = 16,
        ColumnElement = 17,
        MeshElement = 18,
        BeamElement = 19,
        RoomElement = 20,
        StairElement = 21,
        RiserElement = 22,
        TreadElement = 23,
        StairStructureElement = 24,
        RailingElement = 25,
        ToprailElement = 26,
        HandrailElement = 27,
        RailElement = 28,
        RailingPostElement = 29,
        InnerPostElement = 30,
        BalusterElement = 31,
        RailingPanelElement = 32,
        RailingSegmentElement = 33,
        RailingNodeElement = 34,
        RailPatternElement = 35,
        InnerTopRailEndElement = 36,
        InnerHandRailEndElement = 37,
        RailFinishingObjectElement = 38,
        TopRailConnectionElement = 39,
        HandRailConnectionElement = 40,
        RailConnectionElement = 41,
        RailEndElement = 42,
        BalusterSetElement = 43,
        Opening = 44,
        Openingframeinfill = 45,
        Openingpatchinfill = 46,
        ColumnSegmentElement = 47,
        BeamSegmentElement = 48,
        OtherElement = 49,
    };

    Element();
    ~Element();

    bool IsInvalid() const;
    GS::Guid GetElemGuid() const;
    Type GetType() const;
    Int32 GetTessellatedBodyCount() const;
    void GetTessellatedBody(Int32 bodyIndex, MeshBody* body) const;
    Int32 GetMeshBodyCount() const;
    void GetMeshBody(Int32 bodyIndex, MeshBody* body) const;
};

} // namespace ModelerAPI
