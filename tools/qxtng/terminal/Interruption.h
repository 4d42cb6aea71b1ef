#pragma once

namespace Client {

/// Turns the first signal that asks the program to end into a question that it answers itself. Another
/// one, more than a second later, ends it at once. One object at a time.
class Interruption {
  public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// The signal that came; 0 for none.
    int Signal() const;
};

}  // namespace Client
