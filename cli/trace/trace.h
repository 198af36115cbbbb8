#pragma once

#include "abecs/observer.h"
#include "cli/settings.h"
#include "cli/trace/told.h"

#include <cstdio>
#include <memory>
#include <string>

namespace cli {

/// Writes what passes on the line, for people, until it is finished. There is one at a time.
class Trace {
public:
    struct Style {
        bool times;
        bool secrets;
    };

    /// Writes to the file, which stays the caller's.
    Trace(std::FILE *out, Style style);
    virtual ~Trace();
    Trace(const Trace &) = delete;
    Trace &operator=(const Trace &) = delete;

    /// Ends it. Returns why something could not be written, "" when nothing is lost.
    virtual std::string finish();

protected:
    void check(bool written);

private:
    static void observe(void *context, const AbecsLinkEvent *event);
    void write(const AbecsLinkEvent &event);
    Told tell(const AbecsLinkEvent &event) const;
    Told tellFrame(const AbecsLinkEvent &event) const;

    std::FILE *m_out;
    Style m_style;
    std::string m_loss;
};

/// The trace that the settings ask for; null when they ask for none. Throws UsageError when its
/// file cannot be written.
std::unique_ptr<Trace> makeTrace(const Settings &settings);

} // namespace cli
