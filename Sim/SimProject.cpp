#include "Sim/SimProject.hpp"

namespace Velmora::Sim {

// No project is open yet: every call refuses as the host does without one.
SimProject::SimProject(CallLog& calls) : calls_(calls) {}

Host::GSErrCode SimProject::CreateSight(void** /*newSightPtr*/) {
    if (auto err = calls_.Enter("ACAPI_Sight_CreateSight"))
        return *err;
    return Host::Error::General;
}

Host::GSErrCode SimProject::SelectSight(void* /*sightPtr*/, void** /*oldSightPtr*/) {
    if (auto err = calls_.Enter("ACAPI_Sight_SelectSight"))
        return *err;
    return Host::Error::BadPars;
}

Host::GSErrCode SimProject::DeleteSight(void* /*sightPtr*/) {
    if (auto err = calls_.Enter("ACAPI_Sight_DeleteSight"))
        return *err;
    return Host::Error::BadPars;
}

Host::GSErrCode SimProject::GetSelectedSightModel(Host::ModelerAPI::Model& /*model*/) {
    if (auto err = calls_.Enter("ACAPI_Sight_GetSelectedSightModel"))
        return *err;
    return Host::Error::RefusedCmd;
}

Host::GSErrCode SimProject::GetElemList(const Host::API_ElemType& /*type*/,
                                        std::vector<Host::API_Guid>* /*elemList*/,
                                        Host::API_ElemFilterFlags /*filterBits*/) {
    if (auto err = calls_.Enter("ACAPI_Element_GetElemList"))
        return *err;
    return Host::Error::NoPlan;
}

Host::GSErrCode SimProject::GenerateModelWithSeparateComponents(
    const std::vector<Host::API_Guid>& /*elementGuids*/) {
    if (auto err = calls_.Enter("ACAPI_ModelAccess_GenerateModelWithSeparateComponents"))
        return *err;
    return Host::Error::General;
}

Host::GSErrCode SimProject::Project(Host::API_ProjectInfo* /*projectInfo*/) {
    if (auto err = calls_.Enter("ACAPI_ProjectOperation_Project"))
        return *err;
    return Host::Error::NoPlan;
}

Host::GSErrCode SimProject::Save(const Host::API_FileSavePars* /*fileSavePars*/,
                                 const Host::API_SavePars_Picture* /*formatPars*/) {
    if (auto err = calls_.Enter("ACAPI_ProjectOperation_Save"))
        return *err;
    return Host::Error::RefusedCmd;
}

Host::GSErrCode SimProject::GetCurrentWindow(Host::API_WindowInfo* /*windowInfo*/) {
    if (auto err = calls_.Enter("ACAPI_Window_GetCurrentWindow"))
        return *err;
    return Host::Error::BadWindow;
}

Host::GSErrCode SimProject::Search(Host::API_Attr_Head* /*attrHead*/) {
    if (auto err = calls_.Enter("ACAPI_Attribute_Search"))
        return *err;
    return Host::Error::BadName;
}

Host::GSErrCode SimProject::Get(Host::API_Attribute* /*attribute*/) {
    if (auto err = calls_.Enter("ACAPI_Attribute_Get"))
        return *err;
    return Host::Error::BadIndex;
}

} // namespace Velmora::Sim
