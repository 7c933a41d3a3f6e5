#pragma once

#include <chrono>
#include <string>

namespace tavorin {

// Local time as "yyyy-MM-dd-HHmmss", the stamp in names of recording folders
// and files: sorts by time and holds no character a file system refuses.
std::string fileTimeStamp(std::chrono::system_clock::time_point time = std::chrono::system_clock::now());

// The time of day as the desktop's locale writes it, with "." for ":" ("08.13.44"
// in the C locale): for names of files made during a show.
std::string fileTimeOfDay(std::chrono::system_clock::time_point time = std::chrono::system_clock::now());

}  // namespace tavorin
