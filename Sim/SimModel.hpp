// The generated 3D model of a sight, read through the host's model-reader handles. Handles
// keep the model alive; reads count through the call log, which can make them throw.
#pragma once

#include "Host/ModelerApi.hpp"
#include "Sim/CallLog.hpp"
#include "Sim/Scene.hpp"
#include "Sim/SceneMesh.hpp"

#include <memory>
#include <vector>

namespace Velmora::Sim {

struct GeneratedElement {
    Host::API_Guid guid;
    Host::ModelerAPI::Element::Type type = Host::ModelerAPI::Element::UndefinedElement;
    std::shared_ptr<ElementMesh const> mesh;
};

struct GeneratedModel {
    std::shared_ptr<Scene const> scene; // materials and textures
    std::vector<GeneratedElement> elements;
    CallLog* calls = nullptr; // outlives every handle (the host owns both)
};

Host::ModelerAPI::Model MakeModelHandle(std::shared_ptr<GeneratedModel const> model);

} // namespace Velmora::Sim
