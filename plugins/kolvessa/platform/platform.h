#ifndef KOLVESSA_PLATFORM_PLATFORM_H
#define KOLVESSA_PLATFORM_PLATFORM_H

// The operating system as the plug-in sees it. One header, two bodies (posix/, windows/); no other
// file of the plug-in knows which system it runs on. Any thread may call anything here.

#include <cstdint>
#include <ctime>

namespace kolvessa::platform {

uint32_t process_id();
uint32_t thread_id();

// Milliseconds since some fixed moment, wrapping at 32 bits: subtract to measure.
uint32_t tick_count();
void sleep_ms(uint32_t milliseconds);

// The current time in the local zone; false when it can't be broken down.
bool local_time(std::tm& out);

}  // namespace kolvessa::platform

#endif  // KOLVESSA_PLATFORM_PLATFORM_H
