#pragma once

// A private PulseAudio server for tests: its own runtime and home folders, a
// null sink whose monitor can be recorded, and a socket named by PULSE_SERVER.
// Several may run at once (ctest -j), each in its own folder.
#include "VantrelCore/Chiptune.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace vantrel::testing {

inline bool haveProgram(const std::string& name) {
    return std::system(("command -v " + name + " >/dev/null 2>&1").c_str()) == 0;
}

// Starts `argv` with stdout and stderr sent to files; returns the pid or -1. The
// child is sent SIGTERM if this process dies first, so a crashed or killed test
// never leaves a server behind.
inline pid_t spawnProcess(const std::vector<std::string>& argv, const std::vector<std::string>& extraEnv,
                          const std::string& outPath, const std::string& errPath, int stdoutFd = -1) {
    std::vector<std::string> env;
    for (char** e = environ; *e; ++e) {
        env.emplace_back(*e);
    }
    env.insert(env.end(), extraEnv.begin(), extraEnv.end());
    std::vector<char*> args;
    for (const auto& a : argv) {
        args.push_back(const_cast<char*>(a.c_str()));
    }
    args.push_back(nullptr);
    std::vector<char*> envp;
    for (const auto& e : env) {
        envp.push_back(const_cast<char*>(e.c_str()));
    }
    envp.push_back(nullptr);
    const pid_t parent = ::getpid();
    const pid_t pid = ::fork();
    if (pid != 0) {
        return pid; // -1 on failure
    }
    // Child: only async-signal-safe calls until exec.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (::getppid() != parent) {
        ::_exit(127);
    }
    const int in = ::open("/dev/null", O_RDONLY);
    const int out = stdoutFd >= 0 ? stdoutFd : ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int err = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (in < 0 || out < 0 || err < 0) {
        ::_exit(127);
    }
    ::dup2(in, 0);
    ::dup2(out, 1);
    ::dup2(err, 2);
    ::execvpe(args[0], args.data(), envp.data());
    ::_exit(127);
}

// Sends `sig`, then SIGKILL if the process has not gone within `grace`.
inline void endProcess(pid_t pid, int sig = SIGTERM,
                       std::chrono::milliseconds grace = std::chrono::seconds(3)) {
    if (pid <= 0) {
        return;
    }
    ::kill(pid, sig);
    const auto deadline = std::chrono::steady_clock::now() + grace;
    while (std::chrono::steady_clock::now() < deadline) {
        int status = 0;
        if (::waitpid(pid, &status, WNOHANG) == pid) {
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ::kill(pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
}

class PulseServer {
public:
    static constexpr const char* sinkName = "vantrel_test";

    PulseServer() = default;
    PulseServer(const PulseServer&) = delete;
    PulseServer& operator=(const PulseServer&) = delete;
    ~PulseServer() { stop(); }

    // Returns an empty string when the server answers, else why it does not.
    std::string start() {
        if (!haveProgram("pulseaudio") || !haveProgram("pactl")) {
            return "pulseaudio and pactl (Debian packages pulseaudio, pulseaudio-utils) are not installed";
        }
        char name[] = "/tmp/vantrel-pulse-XXXXXX";
        if (!mkdtemp(name)) {
            return "cannot make a temporary folder";
        }
        m_dir = name;
        std::filesystem::create_directories(m_dir + "/run");
        std::filesystem::create_directories(m_dir + "/home/.config/pulse");
        ::chmod((m_dir + "/run").c_str(), 0700);
        // Clients must never start a server of their own behind the test's back.
        std::ofstream(m_dir + "/client.conf") << "autospawn = no\n";
        m_address = "unix:" + m_dir + "/run/native";
        m_pid = spawnProcess(
            {"pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no",
             "--disallow-module-loading=no", "--log-target=stderr",
             std::string("-Lmodule-null-sink sink_name=") + sinkName +
                 " format=float32le rate=" + std::to_string(Chiptune::sampleRate) + " channels=2",
             "-Lmodule-native-protocol-unix auth-anonymous=1 socket=" + m_dir + "/run/native"},
            serverEnv(), m_dir + "/server.out", m_dir + "/server.log");
        if (m_pid < 0) {
            return "cannot start pulseaudio";
        }
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (std::chrono::steady_clock::now() < deadline) {
            if (std::system(("env PULSE_SERVER=" + m_address + " PULSE_CLIENTCONFIG=" + m_dir +
                             "/client.conf pactl info >/dev/null 2>&1")
                                .c_str()) == 0) {
                return {};
            }
            int status = 0;
            if (::waitpid(m_pid, &status, WNOHANG) == m_pid) {
                m_pid = -1;
                return "pulseaudio exited at start; log in " + m_dir + "/server.log";
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return "pulseaudio did not answer within 10 s";
    }

    void stop() {
        endProcess(m_pid);
        m_pid = -1;
        if (!m_dir.empty()) {
            std::error_code ignored;
            std::filesystem::remove_all(m_dir, ignored);
            m_dir.clear();
        }
    }

    // Points this process's PulseAudio clients (Qt Multimedia) at the server.
    void useInThisProcess() const {
        ::setenv("PULSE_SERVER", m_address.c_str(), 1);
        ::setenv("PULSE_CLIENTCONFIG", (m_dir + "/client.conf").c_str(), 1);
    }

    std::vector<std::string> clientEnv() const {
        return {"PULSE_SERVER=" + m_address, "PULSE_CLIENTCONFIG=" + m_dir + "/client.conf"};
    }

    const std::string& dir() const { return m_dir; }
    const std::string& address() const { return m_address; }

private:
    std::vector<std::string> serverEnv() const {
        return {"HOME=" + m_dir + "/home",
                "XDG_RUNTIME_DIR=" + m_dir + "/run",
                "XDG_CONFIG_HOME=" + m_dir + "/home/.config",
                "PULSE_RUNTIME_PATH=" + m_dir + "/run",
                "PULSE_STATE_PATH=" + m_dir + "/home/state",
                "DBUS_SESSION_BUS_ADDRESS=disabled:"};
    }

    std::string m_dir;
    std::string m_address;
    pid_t m_pid = -1;
};

// Records the server's null sink as mono 32-bit float samples at Chiptune::sampleRate. parec
// keeps its default (large) buffer: a small one overflows on a busy machine and
// drops samples from the recording.
class MonitorRecording {
public:
    // A short `latencyMsec` keeps the null sink rendering in small blocks: a new
    // stream then plays at once instead of after the sink's next (up to 2 s) wake-up.
    explicit MonitorRecording(const PulseServer& server, int latencyMsec = 0)
        : m_server(server), m_latencyMsec(latencyMsec) {}
    ~MonitorRecording() { stop(); }

    std::string start() {
        if (!haveProgram("parec")) {
            return "parec (Debian package pulseaudio-utils) is not installed";
        }
        m_path = m_server.dir() + "/monitor.raw";
        std::vector<std::string> argv = {"parec",
                                         "-d",
                                         std::string(PulseServer::sinkName) + ".monitor",
                                         "--format=float32le",
                                         "--rate=" + std::to_string(Chiptune::sampleRate),
                                         "--channels=1",
                                         "--raw"};
        if (m_latencyMsec > 0) {
            argv.push_back("--latency-msec=" + std::to_string(m_latencyMsec));
        }
        m_pid = spawnProcess(argv, m_server.clientEnv(), m_path, m_server.dir() + "/parec.log");
        if (m_pid < 0) {
            return "cannot start parec";
        }
        // Running once the first samples (the null sink's silence) arrive.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (std::chrono::steady_clock::now() < deadline) {
            std::error_code ec;
            if (std::filesystem::file_size(m_path, ec) > 4 * 441) {
                return {};
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return "parec recorded nothing within 10 s";
    }

    // Ends the recording and returns its samples.
    std::vector<float> stop() {
        if (m_pid > 0) {
            endProcess(m_pid, SIGINT);
            m_pid = -1;
        }
        return samples();
    }

    // What has been recorded so far; parec delivers it some way (its latency) behind the sink.
    std::vector<float> samples() const {
        std::vector<float> samples;
        std::ifstream in(m_path, std::ios::binary);
        if (!in) {
            return samples;
        }
        in.seekg(0, std::ios::end);
        const auto bytes = static_cast<std::size_t>(in.tellg());
        in.seekg(0);
        samples.resize(bytes / sizeof(float));
        in.read(reinterpret_cast<char*>(samples.data()), static_cast<std::streamsize>(samples.size() * 4));
        return samples;
    }

private:
    const PulseServer& m_server;
    int m_latencyMsec = 0;
    std::string m_path;
    pid_t m_pid = -1;
};

} // namespace vantrel::testing
