// Sights, element lists and the generated model.
#include "ArchicadApis.hpp"

#include "HostText.hpp"
#include "ModelReader.hpp"

#include "ACAPinc.h"
#include "Array.hpp"
#include "Model.hpp"

#include <memory>

namespace Velmora::Archicad {

Host::GSErrCode SightApi::CreateSight(void** newSightPtr) {
    return ACAPI_Sight_CreateSight(newSightPtr);
}

Host::GSErrCode SightApi::SelectSight(void* sightPtr, void** oldSightPtr) {
    return ACAPI_Sight_SelectSight(sightPtr, oldSightPtr);
}

Host::GSErrCode SightApi::DeleteSight(void* sightPtr) {
    return ACAPI_Sight_DeleteSight(sightPtr);
}

Host::GSErrCode SightApi::GetSelectedSightModel(Host::ModelerAPI::Model& model) {
    auto hostModel = std::make_shared<::ModelerAPI::Model>();
    GSErrCode const err = ACAPI_Sight_GetSelectedSightModel(*hostModel);
    if (err == NoError)
        model = WrapModel(std::move(hostModel));
    return err;
}

Host::GSErrCode ElementApi::GetElemList(const Host::API_ElemType& type,
                                        std::vector<Host::API_Guid>* elemList,
                                        Host::API_ElemFilterFlags filterBits) {
    ::API_ElemType apiType(static_cast<::API_ElemTypeID>(type.typeID),
                           static_cast<::API_ElemVariationID>(type.variationID));
    apiType.classID = ToApiGuid(type.classID);
    GS::Array<::API_Guid> guids;
    GSErrCode const err =
        ACAPI_Element_GetElemList(apiType, elemList != nullptr ? &guids : nullptr, filterBits);
    if (err != NoError || elemList == nullptr)
        return err;
    elemList->clear();
    elemList->reserve(guids.GetSize());
    for (UIndex i = 0; i < guids.GetSize(); ++i)
        elemList->push_back(FromApiGuid(guids[i]));
    return err;
}

Host::GSErrCode ModelAccessApi::GenerateModelWithSeparateComponents(
    const std::vector<Host::API_Guid>& elementGuids) {
    GS::Array<::API_Guid> guids;
    for (Host::API_Guid const& guid : elementGuids)
        guids.Push(ToApiGuid(guid));
    return ACAPI_ModelAccess_GenerateModelWithSeparateComponents(guids);
}

} // namespace Velmora::Archicad
