// The open project as the simulated host sees it: its file, the current window, the material
// attributes, the elements and the sights with their generated models.
#pragma once

#include "Host/HostPort.hpp"
#include "Sim/CallLog.hpp"

namespace Velmora::Sim {

class SimProject : public Host::SightApi,
                   public Host::ElementApi,
                   public Host::ModelAccessApi,
                   public Host::ProjectOperationApi,
                   public Host::WindowApi,
                   public Host::AttributeApi {
public:
    explicit SimProject(CallLog& calls);

    Host::GSErrCode CreateSight(void** newSightPtr) override;
    Host::GSErrCode SelectSight(void* sightPtr, void** oldSightPtr) override;
    Host::GSErrCode DeleteSight(void* sightPtr) override;
    Host::GSErrCode GetSelectedSightModel(Host::ModelerAPI::Model& model) override;
    Host::GSErrCode GetElemList(const Host::API_ElemType& type,
                                std::vector<Host::API_Guid>* elemList,
                                Host::API_ElemFilterFlags filterBits) override;
    Host::GSErrCode
    GenerateModelWithSeparateComponents(const std::vector<Host::API_Guid>& elementGuids) override;
    Host::GSErrCode Project(Host::API_ProjectInfo* projectInfo) override;
    Host::GSErrCode Save(const Host::API_FileSavePars* fileSavePars,
                         const Host::API_SavePars_Picture* formatPars) override;
    Host::GSErrCode GetCurrentWindow(Host::API_WindowInfo* windowInfo) override;
    Host::GSErrCode Search(Host::API_Attr_Head* attrHead) override;
    Host::GSErrCode Get(Host::API_Attribute* attribute) override;

private:
    CallLog& calls_;
};

} // namespace Velmora::Sim
