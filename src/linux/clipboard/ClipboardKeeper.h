#pragma once

#include "linux/clipboard/ClipboardContent.h"

#include <memory>

namespace torvo {

/// Puts back what was on the clipboard and hands it to whoever asks, until another program puts something there. The X
/// server itself keeps nothing: what is on the clipboard lives in the program that owns it. Callable from any thread.
class ClipboardKeeper {
  public:
    ClipboardKeeper();
    ~ClipboardKeeper();
    ClipboardKeeper(const ClipboardKeeper&) = delete;
    ClipboardKeeper& operator=(const ClipboardKeeper&) = delete;

    /// Takes the clipboard with that content; with an empty one, empties it.
    void keep(ClipboardContent content);
    /// Leaves what is still kept to a process of its own, for a program that is about to end.
    void leaveBehind();

  private:
    class Owner;
    std::unique_ptr<Owner> m_owner;
};

} // namespace torvo
