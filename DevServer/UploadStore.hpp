// What the server accepted: extraction images, model records and model files, kept in memory
// and, when a folder is given, written there.
#pragma once

#include "DevServer/Validators.hpp"

#include <nlohmann/json.hpp>

#include <map>
#include <mutex>
#include <string>

namespace Velmora::DevServer {

struct ModelRecord {
    std::string modelId;
    std::string key;
    nlohmann::json begin;
    bool fileReceived = false;
    std::size_t fileBytes = 0;
    bool putHadAuthorization = false;
    bool confirmed = false;
};

enum class ConfirmState { Ready, UnknownModel, FileMissing };

class UploadStore {
public:
    explicit UploadStore(std::string folder); // empty: nothing is written to disk

    // Returns the answer: the extraction id and the names of the files written.
    nlohmann::json SaveExtraction(ExtractionUpload const& upload);
    ModelRecord BeginModel(nlohmann::json const& begin);
    bool KnowsKey(std::string const& key) const;
    void SaveModelFile(std::string const& key, std::string const& bytes, bool hadAuthorization);
    ConfirmState ConfirmModel(std::string const& modelId, ModelRecord& record);
    // The images of the last accepted extraction (png empty without a mask; both empty
    // before the first).
    void LastExtraction(std::string& jpeg, std::string& png) const;

private:
    void WriteFile(std::string const& name, std::string const& bytes) const;
    void WriteRecord(ModelRecord const& record) const;

    std::string const folder_;
    mutable std::mutex mutex_;
    int extractions_ = 0;
    std::string lastJpeg_;
    std::string lastPng_;
    int models_ = 0;
    std::map<std::string, ModelRecord> modelsById_;
    std::map<std::string, std::string> modelIdByKey_;
};

} // namespace Velmora::DevServer
