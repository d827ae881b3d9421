// velmora-sim: the add-on in a simulated Archicad, driven from the command line.
#include "Sim/PortCalls.hpp"
#include "Sim/SimCommandLine.hpp"
#include "Sim/SimRunner.hpp"

#include <iostream>

int main(int argc, char** argv) {
    std::vector<std::string> const args(argv + 1, argv + argc);
    std::string error;
    auto line = Velmora::Sim::ParseSimCommandLine(args, error);
    if (!line) {
        std::cerr << "velmora-sim: " << error << "\n";
        return 2;
    }
    if (line->help) {
        std::cout << Velmora::Sim::SimUsage();
        return 0;
    }
    if (line->listCalls) {
        for (std::string const& name : Velmora::Sim::PortCallNames())
            std::cout << name << "\n";
        return 0;
    }
    return Velmora::Sim::RunSimulation(*line, std::cout, std::cerr);
}
