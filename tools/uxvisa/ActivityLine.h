// A line on standard error that shows that something is going on, and for how long.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace uxvisa::tool {

// "searching 0.4 s"
std::string ActivityText(const std::string& activity, double seconds);

// Shown only to a terminal, as long as the object lives; nothing of it stays.
class ActivityLine {
public:
    explicit ActivityLine(std::string activity);
    ~ActivityLine();
    ActivityLine(const ActivityLine&) = delete;
    ActivityLine& operator=(const ActivityLine&) = delete;

private:
    void Run();

    std::string m_activity;
    std::mutex m_mutex;
    std::condition_variable m_ending;
    bool m_isEnding = false;
    std::thread m_thread;
};

} // namespace uxvisa::tool
