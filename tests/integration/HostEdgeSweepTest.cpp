// Every host call of the add-on's whole life made to throw in turn: nothing may leave the
// add-on into the host, the session must end normally with FreeData run, the user hears at
// most one message per thing they started, and nothing the user was not told of is left
// changed.
#include "EdgeScenario.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <set>

namespace Velmora::Testing {
namespace {

struct FaultPoint {
    std::size_t step = 0;
    StepFault fault;
    bool lastInStep = false; // the step's last call of that name (where restores happen)
};

std::string Label(FaultPoint const& point, std::string const& stepName) {
    return "throw " + point.fault.call + " #" + std::to_string(point.fault.nthInStep) + " of " +
           stepName;
}

// A host that throws from the very call that puts a state back leaves that state changed;
// nothing the add-on does can help, so only that state is exempt.
bool RestoresWindowState(FaultPoint const& point) {
    static std::set<std::string> const restoring = {
        "ACAPI_View_Change3DWindowSets", "ACAPI_Database_RebuildCurrentDatabase",
        "ACAPI_View_Change3DStyle", "ACAPI_UserInput_ClearElementHighlight"};
    return point.lastInStep && restoring.count(point.fault.call) > 0;
}

void AddFirstAndLast(std::vector<FaultPoint>& points, std::size_t step, std::string const& call,
                     std::uint64_t count) {
    if (count == 0)
        return;
    points.push_back({step, {call, 1}, count == 1});
    if (count > 1)
        points.push_back({step, {call, static_cast<int>(count)}, true});
}

// The first and the last call of each name within each step of the clean run; the model
// reader's reads too, which the call log only counts.
std::vector<FaultPoint> FaultPoints(ScenarioRun const& clean) {
    std::vector<FaultPoint> points;
    std::size_t begin = 0;
    std::array<std::uint64_t, Sim::kModelReadCount> readsBefore{};
    for (std::size_t step = 0; step < clean.steps.size(); ++step) {
        StepRecord const& record = clean.steps[step];
        std::map<std::string, std::uint64_t> counts;
        for (std::size_t i = begin; i < record.callsAtEnd; ++i)
            ++counts[clean.calls[i].call];
        for (std::size_t read = 0; read < Sim::kModelReadCount; ++read)
            counts[Sim::ModelReadName(static_cast<Sim::ModelRead>(read))] =
                record.readsAtEnd[read] - readsBefore[read];
        for (auto const& [call, count] : counts)
            AddFirstAndLast(points, step, call, count);
        begin = record.callsAtEnd;
        readsBefore = record.readsAtEnd;
    }
    return points;
}

bool SameWindow(WindowState const& a, WindowState const& b) {
    return a.window.hSize == b.window.hSize && a.window.vSize == b.window.vSize &&
           a.window.zoomScaleX == b.window.zoomScaleX &&
           a.window.zoomScaleY == b.window.zoomScaleY && a.pendingSets == b.pendingSets &&
           a.style.engineId == b.style.engineId && a.highlight == b.highlight;
}

// A toggle either happened and was confirmed, or did not happen: settings.cfg, the settings in
// memory and the message agree.
void CheckToggle(StepRecord const& step, std::string const& label) {
    if (!step.flagBefore || !step.ran)
        return;
    bool const changed = step.flagAfter != step.flagBefore;
    bool const confirmed = step.reports.size() == 1 && !step.reports[0].alert;
    EXPECT_EQ(changed, confirmed) << label << ": " << step.name;
    EXPECT_EQ(step.flagInFile, step.flagAfter) << label << ": " << step.name;
}

// Checks one run; returns whether it had findings.
bool CheckRun(ScenarioRun const& run, std::vector<FaultPoint> const& points) {
    std::string label = "run with";
    bool windowExempt = false;
    for (FaultPoint const& point : points) {
        label += " [" + Label(point, run.steps[point.step].name) + "]";
        windowExempt = windowExempt || RestoresWindowState(point);
    }
    int const before =
        testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
    for (StepRecord const& step : run.steps) {
        EXPECT_FALSE(step.escaped)
            << label << ": escaped from " << step.name << ": " << step.escaped.value_or("");
        EXPECT_TRUE(step.settled) << label << ": " << step.name << " did not settle";
        std::size_t const allowed = step.userStarted ? 1 : 0;
        EXPECT_LE(step.reports.size(), allowed)
            << label << ": " << step.name << " told the user "
            << (step.reports.empty() ? "" : step.reports.back().text);
        CheckToggle(step, label);
    }
    if (run.initializeRan) {
        EXPECT_TRUE(run.freeDataRanLast) << label << ": FreeData did not run";
        EXPECT_TRUE(run.pollerStopped) << label;
        EXPECT_TRUE(run.paletteGone) << label;
    }
    if (!windowExempt) {
        EXPECT_TRUE(SameWindow(run.windowBefore, run.windowAfter)) << label;
    }
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count() !=
           before;
}

// Runs the fault points one per step and run, so that the slow steps' points share runs. A
// point that did not fire beside others (an earlier throw took another path) waits for a later
// round, and at last runs on its own. A throw while loading mostly stops every later step, so
// those points always run on their own.
class Sweep {
public:
    Sweep(ScenarioService const& service, std::vector<FaultPoint> const& points)
        : service_(service) {
        for (FaultPoint const& point : points)
            (point.step == 0 ? alone_ : shared_).push_back(point);
    }

    void Run() {
        for (int round = 0; round < kSharedRounds && !shared_.empty(); ++round) {
            std::vector<FaultPoint> waiting;
            while (!shared_.empty()) {
                std::vector<FaultPoint> const taken = TakeOnePerStep();
                std::vector<bool> const fired = RunOnce(taken);
                for (std::size_t i = 0; i < taken.size(); ++i) {
                    if (fired[i])
                        ++swept;
                    else
                        waiting.push_back(taken[i]);
                }
            }
            shared_ = std::move(waiting);
        }
        alone_.insert(alone_.end(), shared_.begin(), shared_.end());
        for (FaultPoint const& point : alone_)
            ++(RunOnce({point}).front() ? swept : unreached);
    }

    int runs = 0, findings = 0, swept = 0, unreached = 0;

private:
    static constexpr int kSharedRounds = 3;

    std::vector<FaultPoint> TakeOnePerStep() {
        std::vector<FaultPoint> taken, rest;
        std::set<std::size_t> steps;
        for (FaultPoint const& point : shared_)
            (steps.insert(point.step).second ? taken : rest).push_back(point);
        shared_ = std::move(rest);
        return taken;
    }

    // Whether each point's throw happened.
    std::vector<bool> RunOnce(std::vector<FaultPoint> const& points) {
        FaultPlan plan;
        for (FaultPoint const& point : points)
            plan[point.step] = point.fault;
        ScenarioRun const run = RunEdgeScenario(service_, plan);
        ++runs;
        findings += CheckRun(run, points) ? 1 : 0;
        std::vector<bool> fired;
        for (FaultPoint const& point : points)
            fired.push_back(run.steps[point.step].faultFired);
        return fired;
    }

    ScenarioService const& service_;
    std::vector<FaultPoint> shared_, alone_;
};

// Catches any host call whose exception leaves the add-on into Archicad (which would end it),
// a step that hangs after one, an unload that skips FreeData or leaves the poller running, a
// failure told twice or told at start-up, and a toggle half done.
TEST(HostEdgeSweep, NoHostCallThatThrowsGetsPastTheAddOn) {
#ifdef VELMORA_SANITIZED
    GTEST_SKIP() << "some seventy whole sessions take minutes under the sanitizers; the plain "
                    "build sweeps them";
#endif
    ScenarioService const service;
    ASSERT_TRUE(service.Ready());
    ScenarioRun const clean = RunEdgeScenario(service, {});
    ASSERT_FALSE(CheckRun(clean, {}));
    ASSERT_TRUE(clean.freeDataRanLast) << "the clean run must load and unload";
    for (StepRecord const& step : clean.steps)
        ASSERT_TRUE(step.ran) << "the clean run must take every step: " << step.name;

    std::vector<FaultPoint> const points = FaultPoints(clean);
    Sweep sweep(service, points);
    sweep.Run();
    std::set<std::string> names;
    for (FaultPoint const& point : points)
        names.insert(point.fault.call);
    std::printf("edge sweep: %d fault points swept in %d runs (%zu host calls and model reads "
                "over %zu steps, %d not reached again); %d runs with findings\n",
                sweep.swept, sweep.runs, names.size(), clean.steps.size(), sweep.unreached,
                sweep.findings);
}

} // namespace
} // namespace Velmora::Testing
