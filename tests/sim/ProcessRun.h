#pragma once

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace vantrel::testing {

struct ProcessResult {
    int status = -1; // exit status, or -1 when the process did not exit normally
    std::string out;
    std::string err;
};

inline std::string readWholeFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// Runs a shell command with `input` on its standard input and collects both outputs.
inline ProcessResult runProcess(const std::string& command, const std::string& input) {
    char dir[] = "/tmp/vantrel-proc-XXXXXX";
    if (!mkdtemp(dir)) {
        return {};
    }
    const std::string base = dir;
    {
        std::ofstream in(base + "/in", std::ios::binary);
        in << input;
    }
    const std::string line =
        "timeout 60 " + command + " < " + base + "/in > " + base + "/out 2> " + base + "/err";
    const int raw = std::system(line.c_str());
    ProcessResult result;
    result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    result.out = readWholeFile(base + "/out");
    result.err = readWholeFile(base + "/err");
    std::system(("rm -rf " + base).c_str());
    return result;
}

} // namespace vantrel::testing
