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

inline long residentKilobytes()
{
    long pages = 0, resident = 0;
    if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2)
            resident = 0;
        std::fclose(statm);
    }
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
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
