#include "DevServer/DevServerHandlers.hpp"

#include "DevServer/ConnectionDrop.hpp"
#include "DevServer/PageRoutes.hpp"
#include "DevServer/Validators.hpp"

#include <chrono>
#include <exception>
#include <thread>

namespace Velmora::DevServer {
namespace {

using nlohmann::json;

constexpr char const* kExtractionPath = "/extractions-upload";
constexpr char const* kModelPath = "/models-uploadFromPlugin";
constexpr char const* kGlbContentType = "model/gltf-binary";

// One request as the handlers see it, with the log entry they fill in.
struct Exchange {
    httplib::Request const& request;
    httplib::Response& response;
    LoggedRequest entry;
    bool dropped = false;
};

void Reply(Exchange& exchange, int status, json const& body) {
    exchange.response.status = status;
    exchange.response.set_content(body.dump(), "application/json");
}

void Fail(Exchange& exchange, int status, std::string const& message) {
    Reply(exchange, status, {{"message", message}});
}

std::string HtmlErrorPage(int status) {
    std::string const code = std::to_string(status);
    return "<!DOCTYPE html>\n<html><head><title>" + code + " Error</title></head>\n<body><h1>" +
           code + " Error</h1><p>The server could not complete your request.</p></body></html>\n";
}

// Answers with the fault, or (slow) waits and lets the request go on. True when answered.
bool ApplyFault(Fault const& fault, Exchange& exchange) {
    exchange.entry.fault = fault.modeText;
    switch (fault.mode) {
    case FaultMode::Unauthorized401Once:
        Fail(exchange, 401, "token expired; sign in again");
        return true;
    case FaultMode::Forbidden403:
        Fail(exchange, 403, "this account may not upload");
        return true;
    case FaultMode::Aspect400:
        Fail(exchange, 400, "unsupported aspect ratio; use a view between 1:4 and 4:1");
        return true;
    case FaultMode::Server500:
        Fail(exchange, 500, "internal server error");
        return true;
    case FaultMode::BadGateway502:
        Fail(exchange, 502, "bad gateway");
        return true;
    case FaultMode::Html:
        exchange.response.status = fault.status;
        exchange.response.set_content(HtmlErrorPage(fault.status), "text/html");
        return true;
    case FaultMode::Drop:
        exchange.dropped = true; // done by Serve once the request is logged
        exchange.response.status = 500;
        return true;
    case FaultMode::Slow:
        std::this_thread::sleep_for(std::chrono::milliseconds(fault.slowMs));
        return false;
    case FaultMode::NoUploadUrl:
        return false;
    }
    return false;
}

bool Authorized(ServiceState& state, Exchange& exchange) {
    std::string const header = exchange.request.get_header_value("Authorization");
    std::string const prefix = "Bearer ";
    if (header.rfind(prefix, 0) == 0 && state.faults.AcceptsToken(header.substr(prefix.size())))
        return true;
    Fail(exchange, 401, "missing or invalid bearer token");
    return false;
}

bool JsonContentType(Exchange& exchange) {
    if (IsJsonContentType(exchange.request.get_header_value("Content-Type")))
        return true;
    Fail(exchange, 415, "Content-Type must be application/json");
    return false;
}

void HandleExtraction(ServiceState& state, Exchange& exchange) {
    std::optional<Fault> const fault = state.faults.Take(kExtractionPath, "");
    if ((fault && ApplyFault(*fault, exchange)) || !Authorized(state, exchange) ||
        !JsonContentType(exchange))
        return;
    ExtractionUpload upload;
    std::string const error = ValidateExtraction(exchange.request.body, upload);
    if (!error.empty())
        return Fail(exchange, 400, error);
    Reply(exchange, 200, state.store.SaveExtraction(upload));
}

void AnswerBegin(ServiceState& state, Exchange& exchange, json const& request, bool withUrl) {
    std::string const error = ValidateModelBegin(request);
    if (!error.empty())
        return Fail(exchange, 400, error);
    ModelRecord const record = state.store.BeginModel(request);
    json answer = {{"model_id", record.modelId}, {"key", record.key}};
    if (withUrl) {
        answer["upload_url"] = "http://127.0.0.1:" + std::to_string(state.port.load()) +
                               "/upload/" + record.key + "?sig=" + state.signature.Sign(record.key);
    }
    Reply(exchange, 200, answer);
}

void AnswerConfirm(ServiceState& state, Exchange& exchange, json const& request) {
    std::string const error = ValidateModelConfirm(request);
    if (!error.empty())
        return Fail(exchange, 400, error);
    ModelRecord record;
    switch (state.store.ConfirmModel(request["model_id"].get<std::string>(), record)) {
    case ConfirmState::UnknownModel:
        return Fail(exchange, 400, "unknown model_id");
    case ConfirmState::FileMissing:
        return Fail(exchange, 409, "the model file has not been uploaded");
    case ConfirmState::Ready:
        break;
    }
    Reply(exchange, 200, {{"model_id", record.modelId}, {"key", record.key}, {"status", "ready"}});
}

void HandleModel(ServiceState& state, Exchange& exchange) {
    json const request = json::parse(exchange.request.body, nullptr, false);
    bool const hasPhase = request.is_object() && request.contains("phase");
    std::string const phase =
        hasPhase && request["phase"].is_string() ? request["phase"].get<std::string>() : "";
    std::optional<Fault> const fault = state.faults.Take(kModelPath, phase);
    if ((fault && ApplyFault(*fault, exchange)) || !Authorized(state, exchange) ||
        !JsonContentType(exchange))
        return;
    if (request.is_discarded())
        return Fail(exchange, 400, "body is not valid JSON");
    if (phase == "begin")
        return AnswerBegin(state, exchange, request,
                           !fault || fault->mode != FaultMode::NoUploadUrl);
    if (phase == "confirm")
        return AnswerConfirm(state, exchange, request);
    Fail(exchange, 400, "phase must be \"begin\" or \"confirm\"");
}

std::string ReadBody(httplib::Request const& request, httplib::ContentReader const& reader) {
    std::string body;
    // The length was capped by the server's payload limit before the handler ran.
    body.reserve(request.get_header_value<std::uint64_t>("Content-Length"));
    reader([&body](char const* data, std::size_t length) {
        body.append(data, length);
        return true;
    });
    return body;
}

void HandleUpload(ServiceState& state, Exchange& exchange, httplib::ContentReader const& reader) {
    std::optional<Fault> const fault = state.faults.Take(exchange.request.path, "");
    if (fault && fault->mode == FaultMode::Drop) {
        ApplyFault(*fault, exchange);
        return;
    }
    std::string const body = ReadBody(exchange.request, reader);
    exchange.entry.requestBytes = body.size();
    std::string const key = exchange.request.matches[1];
    if ((fault && ApplyFault(*fault, exchange)))
        return;
    if (!state.signature.Verify(key, exchange.request.get_param_value("sig")))
        return Fail(exchange, 403, "upload signature does not match");
    if (!state.store.KnowsKey(key))
        return Fail(exchange, 404, "unknown upload key");
    if (exchange.request.get_header_value("Content-Type") != kGlbContentType)
        return Fail(exchange, 415, "Content-Type must be model/gltf-binary");
    std::string const error =
        ValidateGlb(reinterpret_cast<unsigned char const*>(body.data()), body.size());
    if (!error.empty())
        return Fail(exchange, 400, error);
    state.store.SaveModelFile(key, body, exchange.entry.authorization);
    Reply(exchange, 200, {{"key", key}, {"bytes", body.size()}});
}

void HandleAddFault(ServiceState& state, Exchange& exchange) {
    json const request = json::parse(exchange.request.body, nullptr, false);
    if (!request.is_object())
        return Fail(exchange, 400, "body must be a JSON object");
    std::map<std::string, std::string> fields;
    for (auto const& item : request.items()) {
        if (!item.value().is_string() && !item.value().is_number_integer())
            return Fail(exchange, 400,
                        "fault field '" + item.key() + "' must be a string or integer");
        fields[item.key()] =
            item.value().is_string() ? item.value().get<std::string>() : item.value().dump();
    }
    std::string error;
    std::optional<Fault> fault = BuildFault(fields, error);
    if (!fault)
        return Fail(exchange, 400, error);
    state.faults.Add(*fault);
    Reply(exchange, 200, {{"faults", state.faults.Size()}});
}

LoggedRequest StartEntry(httplib::Request const& request) {
    LoggedRequest entry;
    entry.method = request.method;
    entry.path = request.path;
    entry.authorization = request.has_header("Authorization");
    entry.requestBytes = request.body.size();
    return entry;
}

// Runs a route with its answer logged; an exception becomes a 500 with its message.
template <typename Route>
void Serve(ServiceState& state, httplib::Request const& request, httplib::Response& response,
           Route const& route) {
    Exchange exchange{request, response, StartEntry(request)};
    try {
        route(exchange);
    } catch (std::exception const& error) {
        Fail(exchange, 500, error.what());
    }
    exchange.entry.status = exchange.dropped ? 0 : response.status;
    exchange.entry.responseBytes = exchange.dropped ? 0 : response.body.size();
    if (request.path.rfind("/_control/", 0) != 0)
        state.log.Add(exchange.entry);
    // After logging, so that a client that sees the connection end finds the request logged.
    if (exchange.dropped)
        DropConnection(request.local_port, request.remote_port);
}

template <typename Route>
httplib::Server::Handler Logged(ServiceState& state, Route route) {
    return [&state, route](httplib::Request const& request, httplib::Response& response) {
        Serve(state, request, response, route);
    };
}

void InstallControlRoutes(httplib::Server& server, ServiceState& state) {
    server.Post("/_control/fault",
                Logged(state, [&state](Exchange& exchange) { HandleAddFault(state, exchange); }));
    server.Get("/_control/log", Logged(state, [&state](Exchange& exchange) {
                   Reply(exchange, 200, state.log.ToJson());
               }));
    server.Post("/_control/reset", Logged(state, [&state](Exchange& exchange) {
                    state.faults.Reset(state.runFaults);
                    state.log.Clear();
                    state.hold.Release();
                    Reply(exchange, 200, {{"reset", true}});
                }));
}

} // namespace

void InstallRoutes(httplib::Server& server, ServiceState& state) {
    server.Post(kExtractionPath,
                Logged(state, [&state](Exchange& exchange) { HandleExtraction(state, exchange); }));
    server.Post(kModelPath,
                Logged(state, [&state](Exchange& exchange) { HandleModel(state, exchange); }));
    server.Put("/upload/([A-Za-z0-9._-]+)", [&state](httplib::Request const& request,
                                                     httplib::Response& response,
                                                     httplib::ContentReader const& reader) {
        Serve(state, request, response,
              [&state, &reader](Exchange& exchange) { HandleUpload(state, exchange, reader); });
    });
    InstallControlRoutes(server, state);
    InstallPageRoutes(server, state);
    auto const notFound = Logged(state, [](Exchange& exchange) {
        Fail(exchange, 404, "no such endpoint: " + exchange.request.path);
    });
    server.Get(".*", notFound);
    server.Post(".*", notFound);
    server.Put(".*", notFound);
}

} // namespace Velmora::DevServer
