#include "DevServer/DevServerCommandLine.hpp"

#include <cstdlib>

namespace Velmora::DevServer {
namespace {

bool ParseValue(std::string const& option, std::string const& value, DevServerOptions& options,
                std::string& error) {
    if (option == "--port") {
        char* end = nullptr;
        long const port = std::strtol(value.c_str(), &end, 10);
        if (value.empty() || *end != '\0' || port < 0 || port > 65535) {
            error = "--port takes 0..65535 (0 picks a free port)";
            return false;
        }
        options.port = static_cast<int>(port);
    } else if (option == "--store") {
        options.storeFolder = value;
    } else if (option == "--token") {
        if (value.empty()) {
            error = "--token takes a non-empty token";
            return false;
        }
        options.token = value;
    } else {
        std::optional<Fault> fault = ParseFaultOption(value, error);
        if (!fault)
            return false;
        options.faults.push_back(*fault);
    }
    return true;
}

} // namespace

std::optional<DevServerOptions> ParseDevServerCommandLine(std::vector<std::string> const& args,
                                                          std::string& error) {
    DevServerOptions options;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string const& option = args[i];
        if (option == "--help" || option == "-h") {
            options.help = true;
        } else if (option == "--port" || option == "--store" || option == "--token" ||
                   option == "--fault") {
            if (i + 1 == args.size()) {
                error = option + " needs a value";
                return std::nullopt;
            }
            if (!ParseValue(option, args[++i], options, error))
                return std::nullopt;
        } else {
            error = "unknown option '" + option + "' (see --help)";
            return std::nullopt;
        }
    }
    return options;
}

std::string DevServerUsage() {
    std::string text =
        "velmora-devserver: the reference web service for the add-on's uploads, on 127.0.0.1.\n"
        "\n"
        "Usage: velmora-devserver [--port N] [--store DIR] [--token TOKEN] [--fault SPEC]...\n"
        "\n"
        "  --port N        port to listen on; 0 (the default) picks a free one. The first line\n"
        "                  of stdout is \"listening: http://127.0.0.1:PORT\".\n"
        "  --store DIR     folder for accepted uploads: extraction-NNNN.jpg, -mask.png and\n"
        "                  .json (metadata); model-NNNN.glb and model-NNNN.json (begin, PUT,\n"
        "                  confirm). Without it nothing is written.\n"
        "  --token TOKEN   the bearer token accepted (default \"" +
        std::string(kDefaultToken) +
        "\").\n"
        "  --fault SPEC    a fault for this run: PATH=MODE[,phase=P][,count=N][,status=S]\n"
        "                  [,acceptToken=T]. PATH is /extractions-upload,\n"
        "                  /models-uploadFromPlugin or /upload (every signed PUT); phase\n"
        "                  (begin or confirm) narrows a model request; count is the number of\n"
        "                  requests it hits (default 1, 0 for every one). May be repeated.\n"
        "\n"
        "Fault modes:\n";
    for (FaultModeInfo const& mode : FaultModes()) {
        text += "  " + std::string(mode.name) + ": " + mode.outcome + "\n      --fault " +
                mode.example + "\n";
    }
    text +=
        "\n"
        "Endpoints:\n"
        "  POST /extractions-upload         extraction JSON (bearer token)\n"
        "  POST /models-uploadFromPlugin    {\"phase\":\"begin\",...} or\n"
        "                                   {\"phase\":\"confirm\",\"model_id\":...} (bearer "
        "token)\n"
        "  PUT  /upload/KEY?sig=SIG         the .glb, model/gltf-binary, no token\n"
        "  GET  /                           a one-line page naming the server\n"
        "\n"
        "Control endpoints (no token):\n"
        "  POST /_control/fault   add a fault: {\"path\": \"/models-uploadFromPlugin\",\n"
        "                         \"phase\": \"confirm\", \"mode\": \"502\", \"count\": 1,\n"
        "                         \"status\": 500, \"acceptToken\": \"fresh-token\"}\n"
        "                         (path and mode required)\n"
        "  GET  /_control/log     {\"requests\": [{\"method\", \"path\", \"status\" (0 when "
        "dropped),\n"
        "                         \"authorization\", \"requestBytes\", \"responseBytes\",\n"
        "                         \"fault\"}]}, control requests excluded\n"
        "  POST /_control/reset   clears the log and the faults added since start, restores the\n"
        "                         --fault faults and the --token token\n";
    return text;
}

} // namespace Velmora::DevServer
