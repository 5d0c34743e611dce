// SPDX-License-Identifier: MIT
#include "BackgroundProcess.h"

#include "IdleWait.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace bench {

namespace {

constexpr int ReadEnd = 0;
constexpr int WriteEnd = 1;

} // namespace

BackgroundProcess::BackgroundProcess(const std::string& program, const char* host, const char* task,
                                     unsigned instances)
{
    waitUntilIdle();
    int input[2];
    int output[2];
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    m_input = input[WriteEnd];
    m_process = fork();
    if (m_process == 0) {
        dup2(input[ReadEnd], STDIN_FILENO);
        dup2(output[WriteEnd], STDOUT_FILENO);
        execlp("lab-on", "lab-on", host, program.c_str(), task, std::to_string(instances).c_str(), nullptr);
        _exit(127);
    }
    close(input[ReadEnd]);
    close(output[WriteEnd]);
    pollfd ready{output[ReadEnd], POLLIN, 0};
    char first = 0;
    const bool isReady = poll(&ready, 1, 180000) == 1 && read(output[ReadEnd], &first, 1) == 1;
    close(output[ReadEnd]);
    if (!isReady) {
        end();
        throw std::runtime_error(std::string("'") + task + "' does not work on host " + host +
                                 "; run this by './run bench'");
    }
    waitUntilIdle();
}

BackgroundProcess::~BackgroundProcess()
{
    end();
}

void BackgroundProcess::end() const
{
    close(m_input);
    waitpid(m_process, nullptr, 0);
}

} // namespace bench
