// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_FILEDESCRIPTOR_H
#define VESK_DNSSD_FILEDESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace vesk::dnssd {

/// Owns a file descriptor; -1 for none.
class FileDescriptor
{
public:
    explicit FileDescriptor(int descriptor = -1)
        : m_descriptor(descriptor)
    {
    }
    ~FileDescriptor() { close(); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return m_descriptor; }
    bool isValid() const { return m_descriptor >= 0; }
    void close()
    {
        if (isValid())
            ::close(std::exchange(m_descriptor, -1));
    }

private:
    int m_descriptor;
};

} // namespace vesk::dnssd

#endif
