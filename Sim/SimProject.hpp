// The open project as the simulated host sees it: its file, the current window, the material
// attributes, the elements and the sights with their generated models. Until a scene is
// opened every call refuses as the host does without a project.
#pragma once

#include "Host/HostPort.hpp"
#include "Sim/CallLog.hpp"
#include "Sim/Scene.hpp"
#include "Sim/SimModel.hpp"
#include "Sim/SimProjectEvents.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace Velmora::Sim {

class SimWindow3D;

class SimProject : public Host::SightApi,
                   public Host::ElementApi,
                   public Host::ModelAccessApi,
                   public Host::ProjectOperationApi,
                   public Host::WindowApi,
                   public Host::AttributeApi {
public:
    SimProject(CallLog& calls, AddOnLifecycle& addOn);

    // Replaces the open project; sights and their models are dropped.
    void Open(std::shared_ptr<Scene const> scene);
    // The 3D window knows which window is in front and saves the pictures of it.
    void AttachWindow3D(SimWindow3D* window) { window3D_ = window; }
    Scene const* OpenScene() const { return scene_.get(); }

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
    Host::GSErrCode CatchProjectEvent(Host::GSFlags eventTypes,
                                      Host::APIProjectEventHandlerProc* handlerProc) override {
        return events_.CatchProjectEvent(eventTypes, handlerProc);
    }
    SimProjectEvents& Events() { return events_; }
    Host::GSErrCode GetCurrentWindow(Host::API_WindowInfo* windowInfo) override;
    Host::GSErrCode Search(Host::API_Attr_Head* attrHead) override;
    Host::GSErrCode Get(Host::API_Attribute* attribute) override;

private:
    struct Sight {
        std::shared_ptr<GeneratedModel const> model; // null until generated
    };

    bool PassesFilter(SceneElement const& element, Host::API_ElemFilterFlags filterBits) const;
    int FindElement(Host::API_Guid const& guid) const;
    void AddGenerated(std::size_t index, GeneratedModel& model, std::vector<bool>& added);
    std::shared_ptr<ElementMesh const> MeshOf(std::size_t index);
    // The index of the material that owns attribute index (1-based), or -1.
    int MaterialOfAttribute(Host::Int32 attributeIndex) const;

    CallLog& calls_;
    SimProjectEvents events_;
    SimWindow3D* window3D_ = nullptr;
    std::shared_ptr<Scene const> scene_;
    std::vector<std::shared_ptr<ElementMesh const>> meshes_; // made on first generation
    std::map<void*, Sight> sights_;
    std::uintptr_t sightsCreated_ = 0;
    void* selected_ = nullptr; // nullptr: the 3D window's own sight
};

} // namespace Velmora::Sim
