#pragma once

#include <cstdint>

/// Counts a call that is under way in the library, so that nothing is taken down under it when the process
/// ends or the library is unloaded.
class TNGCall {
  public:
    TNGCall();
    ~TNGCall();
    TNGCall(const TNGCall&) = delete;
    TNGCall& operator=(const TNGCall&) = delete;

    /// False once the library is being taken down: the call has to end at once.
    bool IsAdmitted() const { return m_bAdmitted; }

  private:
    bool m_bAdmitted;
};

/// Admits no further call, and waits up to `timeout` ms for those under way. False if some still are.
bool EndCalls(std::uint32_t timeout);
