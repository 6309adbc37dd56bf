#pragma once

// Runs a short python3 program once over a batch of input lines and collects its output lines,
// so that a test can check results against an independent implementation.

#include <unistd.h>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace support {

// True if `python3` can be started.
inline bool havePython3() {
    return std::system("python3 -c 'pass' > /dev/null 2>&1") == 0;
}

// Writes `lines` to a temporary file, runs `python3 -c program file` and returns the lines it
// printed (without their line feeds). The program reads its input from sys.argv[1].
inline std::vector<std::string> runPython3(const std::string& program,
                                           const std::vector<std::string>& lines) {
    char path[] = "/tmp/orv-python-input-XXXXXX";
    const int fd = mkstemp(path);
    if (fd < 0) {
        return {};
    }
    close(fd);
    {
        std::ofstream input(path);
        for (const auto& line : lines) {
            input << line << '\n';
        }
    }
    const std::string command = "python3 -c '" + program + "' " + path;
    std::vector<std::string> output;
    if (FILE* pipe = popen(command.c_str(), "r")) {
        std::string line;
        for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
            if (c == '\n') {
                output.push_back(line);
                line.clear();
            } else {
                line += static_cast<char>(c);
            }
        }
        pclose(pipe);
    }
    std::remove(path);
    return output;
}

}  // namespace support
