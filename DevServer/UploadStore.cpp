#include "DevServer/UploadStore.hpp"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace Velmora::DevServer {
namespace {

std::string Numbered(char const* prefix, int number) {
    char text[32];
    std::snprintf(text, sizeof(text), "%s-%04d", prefix, number);
    return text;
}

nlohmann::json RecordJson(ModelRecord const& record) {
    return {{"model_id", record.modelId},
            {"key", record.key},
            {"begin", record.begin},
            {"put",
             {{"received", record.fileReceived},
              {"bytes", record.fileBytes},
              {"authorizationHeader", record.putHadAuthorization}}},
            {"confirmed", record.confirmed}};
}

} // namespace

UploadStore::UploadStore(std::string folder) : folder_(std::move(folder)) {
    std::error_code error;
    if (!folder_.empty() && !std::filesystem::create_directories(folder_, error) && error)
        throw std::runtime_error("cannot create the store folder " + folder_);
}

nlohmann::json UploadStore::SaveExtraction(ExtractionUpload const& upload) {
    std::string id;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        id = Numbered("extraction", ++extractions_);
        lastJpeg_ = upload.jpeg;
        lastPng_ = upload.hasMask ? upload.png : std::string();
    }
    nlohmann::json files = nlohmann::json::array({id + ".jpg"});
    if (upload.hasMask)
        files.push_back(id + "-mask.png");
    files.push_back(id + ".json");
    WriteFile(id + ".jpg", upload.jpeg);
    if (upload.hasMask)
        WriteFile(id + "-mask.png", upload.png);
    WriteFile(id + ".json", upload.metadata.dump(2));
    return {{"id", id}, {"files", files}};
}

ModelRecord UploadStore::BeginModel(nlohmann::json const& begin) {
    std::lock_guard<std::mutex> lock(mutex_);
    ModelRecord record;
    record.modelId = Numbered("model", ++models_);
    record.key = record.modelId + ".glb";
    record.begin = begin;
    modelsById_[record.modelId] = record;
    modelIdByKey_[record.key] = record.modelId;
    WriteRecord(record);
    return record;
}

void UploadStore::LastExtraction(std::string& jpeg, std::string& png) const {
    std::lock_guard<std::mutex> lock(mutex_);
    jpeg = lastJpeg_;
    png = lastPng_;
}

bool UploadStore::KnowsKey(std::string const& key) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return modelIdByKey_.count(key) != 0;
}

void UploadStore::SaveModelFile(std::string const& key, std::string const& bytes,
                                bool hadAuthorization) {
    WriteFile(key, bytes);
    std::lock_guard<std::mutex> lock(mutex_);
    auto const id = modelIdByKey_.find(key);
    if (id == modelIdByKey_.end())
        return;
    ModelRecord& record = modelsById_[id->second];
    record.fileReceived = true;
    record.fileBytes = bytes.size();
    record.putHadAuthorization = hadAuthorization;
    WriteRecord(record);
}

ConfirmState UploadStore::ConfirmModel(std::string const& modelId, ModelRecord& record) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto const found = modelsById_.find(modelId);
    if (found == modelsById_.end())
        return ConfirmState::UnknownModel;
    if (!found->second.fileReceived)
        return ConfirmState::FileMissing;
    found->second.confirmed = true;
    record = found->second;
    WriteRecord(record);
    return ConfirmState::Ready;
}

void UploadStore::WriteFile(std::string const& name, std::string const& bytes) const {
    if (folder_.empty())
        return;
    std::ofstream out(std::filesystem::path(folder_) / name, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out)
        throw std::runtime_error("cannot write " + name + " in the store folder");
}

void UploadStore::WriteRecord(ModelRecord const& record) const {
    WriteFile(record.modelId + ".json", RecordJson(record).dump(2) + "\n");
}

} // namespace Velmora::DevServer
