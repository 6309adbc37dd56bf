#pragma once

#include <thread>

#include "orv/common/system/Mutex.h"

namespace support {

// Whether another thread could take `mutex` right now (it releases it again at once).
inline bool freeForOthers(orv::common::system::Mutex& mutex) {
    bool taken = false;
    std::thread other([&] {
        taken = mutex.tryLock();
        if (taken) {
            mutex.unlock();
        }
    });
    other.join();
    return taken;
}

}  // namespace support
