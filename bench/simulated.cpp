// SPDX-License-Identifier: LGPL-2.1-or-later
// What a request to the simulated switch takes, for one process and for four at once. Runs under esw-sim, which
// chooses the route.
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <esw.h>

namespace {

uint32_t read_register() { return esw_reg_read32(0x01, 0x00, 16); }

// Others that ask all the time, until they are told to end.
class Others {
public:
    explicit Others(int count)
    {
        for (int i = 0; i < count; ++i) {
            const pid_t child = fork();
            if (child == 0) {
                prctl(PR_SET_PDEATHSIG, SIGKILL);
                for (;;)
                    read_register();
            }
            children_.push_back(child);
        }
    }
    ~Others()
    {
        for (const pid_t child : children_) {
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
        }
    }
    Others(const Others &) = delete;
    Others &operator=(const Others &) = delete;

private:
    std::vector<pid_t> children_;
};

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv) || esw_init("eth0") != ETH_E_NONE)
        return 1;
    const std::string route = gFd > 0 ? "device" : "interface";
    for (const int processes : {1, 4}) {
        const std::string name = "simulated " + route + " route/" + std::to_string(processes) +
                                 (processes > 1 ? " processes" : " process");
        benchmark::RegisterBenchmark(name.c_str(), [processes](benchmark::State &state) {
            const Others others(processes - 1);
            for (auto _ : state)
                benchmark::DoNotOptimize(read_register());
        })->UseRealTime();
    }
    benchmark::RunSpecifiedBenchmarks();
    esw_exit();
    return 0;
}
