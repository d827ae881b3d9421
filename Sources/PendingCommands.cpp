// The model-send command lands with the upload work; until then it
// tells the user plainly that this build cannot do it yet, rather than failing silently.
#include "Export/ModelCommands.hpp"
#include "Host/HostPort.hpp"
#include "Logger.hpp"

#include <string>

namespace Velmora {

namespace {

Host::GSErrCode ReportNotAvailable(std::string const& logPrefix, std::string const& what) {
    Logger::Get().Log(LogLevel::Warn, logPrefix + what + " is not available in this build yet");
    Host::Get().WriteReport("Velmora: " + what + " is not available in this build yet.", false);
    return Host::Error::NoError;
}

} // namespace

Host::GSErrCode RunSendModelToVelmora() {
    return ReportNotAvailable("SendModel: ", "sending the model");
}

} // namespace Velmora
