#pragma once

#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <string>
#include <sys/types.h>
#include <unistd.h>

// Threads and memory of the test process, read from /proc.
inline int threadCount()
{
    int count = 0;
    if (DIR* tasks = opendir("/proc/self/task")) {
        while (dirent* entry = readdir(tasks)) {
            if (entry->d_name[0] != '.')
                ++count;
        }
        closedir(tasks);
    }
    return count;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define LUMETRA_TESTS_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define LUMETRA_TESTS_SANITIZED 1
#endif
#endif

#ifdef LUMETRA_TESTS_SANITIZED
// Heap bytes the program (GL driver included) holds, from the sanitizer's allocator.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

// Memory the process holds. Under AddressSanitizer or ThreadSanitizer the
// resident pages mostly hold the tool's own quarantine, shadow and thread
// histories, which grow for a while whatever the program does, so there it
// is the heap the program holds instead: what a leak would grow.
inline long residentKilobytes()
{
#ifdef LUMETRA_TESTS_SANITIZED
    return static_cast<long>(__sanitizer_get_current_allocated_bytes() / 1024);
#else
    long pages = 0, resident = 0;
    if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2)
            resident = 0;
        std::fclose(statm);
    }
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
#endif
}

// User plus system CPU time of one thread of this process, in clock ticks.
inline long threadCpuTicks(pid_t tid)
{
    const std::string path = "/proc/self/task/" + std::to_string(tid) + "/stat";
    long user = 0, system = 0;
    if (FILE* stat = std::fopen(path.c_str(), "r")) {
        // Skip "pid (comm) state" and ten fields to reach utime and stime.
        char line[1024] = {};
        if (std::fgets(line, sizeof(line), stat)) {
            const char* afterName = strrchr(line, ')');
            if (afterName)
                std::sscanf(afterName + 2, "%*c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %ld %ld", &user, &system);
        }
        std::fclose(stat);
    }
    return user + system;
}
