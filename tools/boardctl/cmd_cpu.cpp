// cpu: how busy the BMC's own processors are.
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "boardfeatures/process.h"
#include "command.h"

namespace boardctl {

namespace {

// The library's monitor prints a line a second and never returns: it runs in a process of its own,
// which is ended when enough has been read.
class CpuMonitor {
public:
    CpuMonitor() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) {
            return;
        }
        child_ = fork();
        if (child_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(ends[1], STDOUT_FILENO);
            setvbuf(stdout, nullptr, _IOLBF, 0);
            vel_CpuUsage();
            _exit(status_failed);
        }
        close(ends[1]);
        lines_ = fdopen(ends[0], "r");
    }
    ~CpuMonitor() {
        if (lines_ != nullptr) {
            std::fclose(lines_);
        }
        if (child_ > 0) {
            kill(child_, SIGKILL);
            waitpid(child_, nullptr, 0);
        }
    }
    CpuMonitor(const CpuMonitor &) = delete;
    CpuMonitor &operator=(const CpuMonitor &) = delete;

    // The usage of the next second; nothing when the monitor has ended.
    std::optional<double> next() {
        char line[128];
        int round = 0;
        double usage = 0;
        while (lines_ != nullptr && std::fgets(line, sizeof(line), lines_) != nullptr) {
            if (std::sscanf(line, "cpu use%d = %lf", &round, &usage) == 2) {
                return usage;
            }
        }
        return std::nullopt;
    }

private:
    pid_t child_ = -1;
    std::FILE *lines_ = nullptr;
};

Json cpu_usage(Session &session, uint32_t seconds) {
    CpuMonitor monitor;
    std::atomic<uint32_t> second = 0;
    const Progress progress("watching the processors", [&second, seconds] {
        return fmt::format("{} of {}", second.load(), seconds);
    });
    Json usage = Json::array();
    for (; second < seconds; ++second) {
        const std::optional<double> percent = monitor.next();
        if (!percent) {
            session.fail("/proc/stat cannot be read");
            break;
        }
        usage.push_back(*percent);
    }
    return {{"usage_percent", std::move(usage)}};
}

void show_cpu(Page &page, const Json &document) {
    Json rows = Json::array();
    for (const Json &percent : document["usage_percent"]) {
        rows.push_back(
            {{"second", rows.size() + 1}, {"usage", fmt::format("{:.2f}", percent.get<double>())}});
    }
    page.heading("CPU usage in percent");
    page.table(rows, {{"Second", "/second"}, {"Usage", "/usage"}});
}

}  // namespace

void add_cpu(Cli &cli) {
    const auto seconds = std::make_shared<uint32_t>(1);
    cli.add({.name = "cpu",
             .title = "CPU usage",
             .summary = "How busy the BMC's own processors are",
             .run = [seconds](Session &session) { return cpu_usage(session, *seconds); },
             .show = show_cpu,
             .in_report = false})
        .add_option("-n,--seconds", *seconds, "how long to watch")
        ->type_name("SECONDS")
        ->check(CLI::Range(1U, 86400U).description(""))
        ->capture_default_str();
}

}  // namespace boardctl
