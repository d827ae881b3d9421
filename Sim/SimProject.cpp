#include "Sim/SimProject.hpp"

#include "Sim/SceneNames.hpp"
#include "Sim/SimWindow3D.hpp"

#include <filesystem>

namespace Velmora::Sim {

namespace {

// Sight pointers are opaque to the add-on; these are never reused, so a deleted sight stays
// unknown.
constexpr std::uintptr_t kFirstSight = 0x5167000;

constexpr Host::API_ElemFilterFlags kLayerBits =
    Host::ElemFilter::APIFilt_IsEditable | Host::ElemFilter::APIFilt_OnVisLayer;

} // namespace

SimProject::SimProject(CallLog& calls, AddOnLifecycle& addOn)
    : calls_(calls), events_(calls, addOn) {}

void SimProject::Open(std::shared_ptr<Scene const> scene) {
    scene_ = std::move(scene);
    meshes_.assign(scene_ ? scene_->elements.size() : 0, nullptr);
    sights_.clear();
    selected_ = nullptr;
}

// ---- Sights --------------------------------------------------------------------------------

Host::GSErrCode SimProject::CreateSight(void** newSightPtr) {
    if (auto err = calls_.Enter("ACAPI_Sight_CreateSight"))
        return *err;
    if (newSightPtr == nullptr)
        return Host::Error::BadPars;
    if (!scene_)
        return Host::Error::General;
    void* const sight = reinterpret_cast<void*>(kFirstSight + 0x10 * ++sightsCreated_);
    sights_[sight] = Sight{};
    *newSightPtr = sight;
    return Host::Error::NoError;
}

Host::GSErrCode SimProject::SelectSight(void* sightPtr, void** oldSightPtr) {
    if (auto err = calls_.Enter("ACAPI_Sight_SelectSight"))
        return *err;
    if (sightPtr != nullptr && sights_.count(sightPtr) == 0)
        return Host::Error::BadPars;
    if (oldSightPtr != nullptr)
        *oldSightPtr = selected_;
    selected_ = sightPtr;
    return Host::Error::NoError;
}

// Only created sights can go, and not while they are selected: the caller selects another
// one first, as the host expects of it.
Host::GSErrCode SimProject::DeleteSight(void* sightPtr) {
    if (auto err = calls_.Enter("ACAPI_Sight_DeleteSight"))
        return *err;
    if (sightPtr == nullptr || sights_.count(sightPtr) == 0)
        return Host::Error::BadPars;
    if (sightPtr == selected_)
        return Host::Error::RefusedCmd;
    sights_.erase(sightPtr);
    return Host::Error::NoError;
}

Host::GSErrCode SimProject::GetSelectedSightModel(Host::ModelerAPI::Model& model) {
    if (auto err = calls_.Enter("ACAPI_Sight_GetSelectedSightModel"))
        return *err;
    auto const sight = sights_.find(selected_);
    if (sight == sights_.end() || !sight->second.model)
        return Host::Error::RefusedCmd;
    model = MakeModelHandle(sight->second.model);
    return Host::Error::NoError;
}

// ---- Elements and the model ----------------------------------------------------------------

bool SimProject::PassesFilter(SceneElement const& element,
                              Host::API_ElemFilterFlags filterBits) const {
    SceneElement const* layerHolder = &element;
    if (UsesOwnersLayer(element.type) && element.owner >= 0)
        layerHolder = &scene_->elements[static_cast<std::size_t>(element.owner)];
    if ((filterBits & kLayerBits) != 0 && !layerHolder->layerVisible)
        return false;
    if ((filterBits & Host::ElemFilter::APIFilt_In3D) != 0 &&
        !(element.in3D && CanPassIn3DFilter(element.type)))
        return false;
    return true;
}

Host::GSErrCode SimProject::GetElemList(const Host::API_ElemType& type,
                                        std::vector<Host::API_Guid>* elemList,
                                        Host::API_ElemFilterFlags filterBits) {
    if (auto err = calls_.Enter("ACAPI_Element_GetElemList"))
        return *err;
    if (elemList == nullptr)
        return Host::Error::BadPars;
    if (!scene_)
        return Host::Error::NoPlan;
    elemList->clear();
    for (SceneElement const& element : scene_->elements) {
        bool const typeMatches =
            type.typeID == Host::API_ZombieElemID || type.typeID == element.type;
        if (typeMatches && PassesFilter(element, filterBits))
            elemList->push_back(element.guid);
    }
    return Host::Error::NoError;
}

int SimProject::FindElement(Host::API_Guid const& guid) const {
    for (std::size_t i = 0; i < scene_->elements.size(); ++i) {
        if (scene_->elements[i].guid == guid)
            return static_cast<int>(i);
    }
    return -1;
}

std::shared_ptr<ElementMesh const> SimProject::MeshOf(std::size_t index) {
    if (!meshes_[index])
        meshes_[index] = std::make_shared<ElementMesh const>(
            TessellateElement(*scene_, scene_->elements[index]));
    return meshes_[index];
}

void SimProject::AddGenerated(std::size_t index, GeneratedModel& model, std::vector<bool>& added) {
    SceneElement const& element = scene_->elements[index];
    if (added[index] || !element.in3D || element.bodies.empty())
        return;
    added[index] = true;
    model.elements.push_back({element.guid, element.modelType, MeshOf(index)});
}

Host::GSErrCode
SimProject::GenerateModelWithSeparateComponents(const std::vector<Host::API_Guid>& elementGuids) {
    if (auto err = calls_.Enter("ACAPI_ModelAccess_GenerateModelWithSeparateComponents"))
        return *err;
    auto const sight = sights_.find(selected_);
    if (!scene_ || sight == sights_.end())
        return Host::Error::General;
    std::vector<int> wanted;
    for (Host::API_Guid const& guid : elementGuids) {
        int const index = FindElement(guid);
        if (index < 0)
            return Host::Error::BadId;
        wanted.push_back(index);
    }
    auto model = std::make_shared<GeneratedModel>();
    model->scene = scene_;
    model->calls = &calls_;
    std::vector<bool> added(scene_->elements.size(), false);
    for (int index : wanted) {
        AddGenerated(static_cast<std::size_t>(index), *model, added);
        // Components (curtain-wall frames, a wall's opening, ...) come with their owner.
        for (std::size_t part = 0; part < scene_->elements.size(); ++part) {
            if (scene_->elements[part].owner == index)
                AddGenerated(part, *model, added);
        }
    }
    sight->second.model = std::move(model);
    return Host::Error::NoError;
}

// ---- Project and window --------------------------------------------------------------------

Host::GSErrCode SimProject::Project(Host::API_ProjectInfo* projectInfo) {
    if (auto err = calls_.Enter("ACAPI_ProjectOperation_Project"))
        return *err;
    if (projectInfo == nullptr)
        return Host::Error::BadPars;
    if (!scene_)
        return Host::Error::NoPlan;
    *projectInfo = Host::API_ProjectInfo{};
    projectInfo->untitled = scene_->untitled;
    if (!scene_->untitled) {
        projectInfo->location = scene_->projectFile;
        projectInfo->projectPath = scene_->projectFile;
        projectInfo->projectName = std::filesystem::path(scene_->projectFile).stem().string();
    }
    return Host::Error::NoError;
}

Host::GSErrCode SimProject::Save(const Host::API_FileSavePars* fileSavePars,
                                 const Host::API_SavePars_Picture* formatPars) {
    if (auto err = calls_.Enter("ACAPI_ProjectOperation_Save"))
        return *err;
    if (window3D_ == nullptr)
        return Host::Error::RefusedCmd;
    return window3D_->SavePicture(fileSavePars, formatPars);
}

Host::GSErrCode SimProject::GetCurrentWindow(Host::API_WindowInfo* windowInfo) {
    if (auto err = calls_.Enter("ACAPI_Window_GetCurrentWindow"))
        return *err;
    if (windowInfo == nullptr)
        return Host::Error::BadPars;
    if (!scene_)
        return Host::Error::BadWindow;
    windowInfo->typeID = window3D_ ? window3D_->CurrentWindowType() : scene_->windowType;
    windowInfo->index = 1;
    windowInfo->title = scene_->windowName;
    if (windowInfo->typeID != scene_->windowType)
        windowInfo->title = windowInfo->typeID == Host::APIWind_3DModelID ? "3D" : "Floor Plan";
    windowInfo->name = windowInfo->title;
    return Host::Error::NoError;
}

// ---- Material attributes -------------------------------------------------------------------

// Attribute indices count only the materials that have an attribute, so they differ from
// the model reader's material indices as soon as one material has none.
int SimProject::MaterialOfAttribute(Host::Int32 attributeIndex) const {
    Host::Int32 seen = 0;
    for (std::size_t i = 0; i < scene_->materials.size(); ++i) {
        if (scene_->materials[i].hasAttribute && ++seen == attributeIndex)
            return static_cast<int>(i);
    }
    return -1;
}

Host::GSErrCode SimProject::Search(Host::API_Attr_Head* attrHead) {
    if (auto err = calls_.Enter("ACAPI_Attribute_Search"))
        return *err;
    if (attrHead == nullptr || attrHead->typeID == Host::API_ZombieAttrID)
        return Host::Error::BadPars;
    if (!scene_ || attrHead->typeID != Host::API_MaterialID)
        return Host::Error::BadName;
    Host::Int32 index = 0;
    for (SceneMaterial const& material : scene_->materials) {
        if (!material.hasAttribute)
            continue;
        ++index;
        if (material.name == attrHead->name) {
            attrHead->index = index;
            return Host::Error::NoError;
        }
    }
    return Host::Error::BadName;
}

Host::GSErrCode SimProject::Get(Host::API_Attribute* attribute) {
    if (auto err = calls_.Enter("ACAPI_Attribute_Get"))
        return *err;
    if (attribute == nullptr || attribute->header.typeID == Host::API_ZombieAttrID)
        return Host::Error::BadPars;
    if (attribute->header.index == 0) {
        Host::API_Attr_Head head = attribute->header;
        // A lookup by name inside Get is not a second host call.
        if (!scene_ || head.typeID != Host::API_MaterialID)
            return Host::Error::BadName;
        int found = -1;
        for (Host::Int32 i = 1; found < 0 && MaterialOfAttribute(i) >= 0; ++i) {
            if (scene_->materials[static_cast<std::size_t>(MaterialOfAttribute(i))].name ==
                head.name)
                found = i;
        }
        if (found < 0)
            return Host::Error::BadName;
        attribute->header.index = found;
    }
    int const material = scene_ && attribute->header.typeID == Host::API_MaterialID
                             ? MaterialOfAttribute(attribute->header.index)
                             : -1;
    if (material < 0)
        return Host::Error::BadIndex;
    SceneMaterial const& source = scene_->materials[static_cast<std::size_t>(material)];
    attribute->header.name = source.name;
    attribute->material.head = attribute->header;
    attribute->material.transpPc = static_cast<short>(source.attributeTranspPc);
    attribute->material.surfaceRGB = {source.attributeColor.red, source.attributeColor.green,
                                      source.attributeColor.blue};
    return Host::Error::NoError;
}

} // namespace Velmora::Sim
