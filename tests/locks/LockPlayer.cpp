// Opens a named semaphore and does with it what it is told by lines:
//     take MILLISECONDS, release: answer with the result
//     count FILE SLOT: takes it, counts in the ledger and releases it, for ever
#include <cstdint>
#include <iostream>
#include <string>

#include "Ledger.h"
#include "platform/Semaphores.h"
#include "platform/Text.h"

namespace {

using TestSupport::Ledger;

[[noreturn]] void Count(Platform::Semaphore* pSemaphore, const std::string& path, std::size_t slot) {
    const TestSupport::Shared<volatile Ledger> ledger(path);
    for (;;) {
        if (Platform::WaitForSingleObject(pSemaphore, Platform::INFINITE) != Platform::WAIT_OBJECT_0)
            std::abort();
        ledger->Repair();
        ledger->bInside = 1;
        const std::int64_t sum = ledger->nSum;
        ledger->counts[slot] = ledger->counts[slot] + 1;
        ledger->nSum = sum + 1;
        ledger->bInside = 0;
        if (!Platform::ReleaseSemaphore(pSemaphore)) std::abort();
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    bool bExisted = false;
    Platform::Semaphore* pSemaphore =
        Platform::CreateSemaphoreW(Platform::PathFromBytes(argv[1]).c_str(), &bExisted);
    std::cout << (!pSemaphore ? "refused" : bExisted ? "existed" : "new") << std::endl;
    if (!pSemaphore) return 1;
    for (std::string word; std::cin >> word;) {
        if (word == "take") {
            std::uint32_t milliseconds = 0;
            std::cin >> milliseconds;
            std::cout << Platform::WaitForSingleObject(pSemaphore, milliseconds) << std::endl;
        } else if (word == "release") {
            std::cout << Platform::ReleaseSemaphore(pSemaphore) << std::endl;
        } else if (word == "count") {
            std::string path;
            std::size_t slot = 0;
            std::cin >> path >> slot;
            Count(pSemaphore, path, slot);
        }
    }
    Platform::CloseHandle(pSemaphore);
}
