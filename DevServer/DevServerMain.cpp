// velmora-devserver: the reference web service, until SIGINT or SIGTERM.
#include "DevServer/DevServer.hpp"

#include <csignal>
#include <iostream>

int main(int argc, char** argv) {
    std::vector<std::string> const args(argv + 1, argv + argc);
    std::string error;
    auto options = Velmora::DevServer::ParseDevServerCommandLine(args, error);
    if (!options) {
        std::cerr << "velmora-devserver: " << error << "\n";
        return 2;
    }
    if (options->help) {
        std::cout << Velmora::DevServer::DevServerUsage();
        return 0;
    }
    // Clients that hang up mid-answer must not end the server; the signals that stop it are
    // blocked before any thread starts, so that only the wait below receives them.
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    try {
        Velmora::DevServer::DevServer server(*options);
        int const port = server.Start();
        if (port < 0) {
            std::cerr << "velmora-devserver: cannot listen on 127.0.0.1:" << options->port << "\n";
            return 1;
        }
        std::cout << "listening: http://127.0.0.1:" << port << std::endl;
        int received = 0;
        sigwait(&stopSignals, &received);
        server.Stop();
    } catch (std::exception const& failure) {
        std::cerr << "velmora-devserver: " << failure.what() << "\n";
        return 1;
    }
    return 0;
}
