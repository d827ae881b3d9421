// Attribute search by name and reading a material. The port's attribute carries the header and
// the material side by side; the host's is a union whose members all begin with the header.
#include "ArchicadApis.hpp"

#include "HostText.hpp"

#include "ACAPinc.h"

namespace Velmora::Archicad {

namespace {

// The header the host looks up: the index, or with index 0 the name (no length limit: the
// Unicode name pointer is read before the fixed name array).
void FillApiHeader(Host::API_Attr_Head const& head, GS::UniString& name, ::API_Attr_Head& apiHead) {
    apiHead.typeID = static_cast<::API_AttrTypeID>(head.typeID);
    apiHead.index = ACAPI_CreateAttributeIndex(head.index);
    if (!head.name.empty()) {
        name = ToUniString(head.name);
        apiHead.uniStringNamePtr = &name;
    }
}

void CopyPortHeader(::API_Attr_Head const& apiHead, Host::API_Attr_Head& head) {
    head.typeID = static_cast<Host::API_AttrTypeID>(apiHead.typeID);
    head.index = apiHead.index.ToInt32_Deprecated();
}

} // namespace

Host::GSErrCode AttributeApi::Search(Host::API_Attr_Head* attrHead) {
    if (attrHead == nullptr)
        return ACAPI_Attribute_Search(nullptr);
    ::API_Attr_Head apiHead{};
    GS::UniString name;
    FillApiHeader(*attrHead, name, apiHead);
    GSErrCode const err = ACAPI_Attribute_Search(&apiHead);
    if (err == NoError)
        CopyPortHeader(apiHead, *attrHead);
    return err;
}

Host::GSErrCode AttributeApi::Get(Host::API_Attribute* attribute) {
    if (attribute == nullptr)
        return ACAPI_Attribute_Get(nullptr);
    ::API_Attribute apiAttribute{};
    GS::UniString name;
    FillApiHeader(attribute->header, name, apiAttribute.header);
    GSErrCode const err = ACAPI_Attribute_Get(&apiAttribute);
    if (err != NoError)
        return err;
    CopyPortHeader(apiAttribute.header, attribute->header);
    if (apiAttribute.header.typeID == ::API_MaterialID) {
        ::API_MaterialType const& material = apiAttribute.material;
        attribute->material.head = attribute->header;
        attribute->material.transpPc = material.transpPc;
        attribute->material.surfaceRGB.f_red = material.surfaceRGB.f_red;
        attribute->material.surfaceRGB.f_green = material.surfaceRGB.f_green;
        attribute->material.surfaceRGB.f_blue = material.surfaceRGB.f_blue;
        // The host allocates the texture's location for the caller to free.
        delete material.texture.fileLoc;
    }
    return err;
}

} // namespace Velmora::Archicad
