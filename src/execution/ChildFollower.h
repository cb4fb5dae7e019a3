#pragma once

#include "execution/CapturedOutput.h"
#include "execution/ProcessTree.h"
#include "platform/ProcessHost.h"
#include "support/Descriptor.h"

#include <array>
#include <chrono>
#include <functional>
#include <optional>

namespace torvo {

/// Follows one started child to its end with a single poll loop: takes in both of its output streams, and sees a stop
/// through that somebody began.
class ChildFollower {
  public:
    struct Streams {
        /// Read ends of the pipes.
        Descriptor output;
        Descriptor error;
    };

    /// `wake`: a descriptor that turns readable when `takeStop` has something new to give.
    ChildFollower(ProcessHost& host, const ProcessIdentity& child, Streams streams, int wake,
                  std::function<std::optional<TreeStop>()> takeStop);

    /// Returns when the child has ended (unreaped still), both streams are closed and, after a stop, everyone who was
    /// asked to end is gone; after a stop at the latest half a second past the killing.
    void follow();

    /// Whether the child has ended: not so only for one that even a kill did not end in time.
    [[nodiscard]] bool hasEnded() const { return m_hasEnded; }
    /// There was no memory for the output, so that the child was killed.
    [[nodiscard]] bool ranOutOfMemory() const { return m_ranOutOfMemory; }
    [[nodiscard]] CapturedOutput takeOutput() { return std::move(m_streams[0].content); }
    [[nodiscard]] CapturedOutput takeError() { return std::move(m_streams[1].content); }

  private:
    using Clock = std::chrono::steady_clock;

    struct Stream {
        Descriptor pipe;
        CapturedOutput content;
        bool isWide = false;
    };

    struct Stop {
        TreeStop tree;
        Clock::time_point killTime;
        Clock::time_point nextSweep;
        bool isKilling = false;
    };

    [[nodiscard]] bool isDone() const;
    [[nodiscard]] bool hasOpenStream() const;
    [[nodiscard]] int timeout() const;
    void waitForNews();
    void read(Stream& stream);
    void pursueStop();
    void giveUpForMemory();
    [[nodiscard]] std::vector<ProcessIdentity> strays() const;

    ProcessHost& m_host;
    ProcessIdentity m_child;
    std::array<Stream, 2> m_streams;
    Descriptor m_exitNotice;
    int m_wake;
    std::function<std::optional<TreeStop>()> m_takeStop;
    std::optional<Stop> m_stop;
    bool m_hasEnded = false;
    bool m_ranOutOfMemory = false;
};

} // namespace torvo
