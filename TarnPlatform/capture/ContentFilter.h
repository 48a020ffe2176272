#pragma once

#include <utility>
#include <vector>

#include "ShareableContent.h"

namespace tarn {

/// Which programs a capture hears. Value type.
class ContentFilter {
public:
    /// All but these, now and whenever they come.
    static ContentFilter excluding(CaptureDisplay display, std::vector<RunningApplication> applications) {
        return {std::move(display), std::move(applications), false};
    }
    /// These alone, with every process of theirs, now and whenever they come back.
    static ContentFilter including(CaptureDisplay display, std::vector<RunningApplication> applications) {
        return {std::move(display), std::move(applications), true};
    }

    const CaptureDisplay& display() const { return display_; }
    const std::vector<RunningApplication>& applications() const { return applications_; }
    bool includes() const { return includes_; }  ///< the applications are those heard, not those left out

    /// An included program is known by its identifier, letter by letter; an excluded one by its process too,
    /// where that is known.
    bool accepts(const RunningApplication& application) const;

private:
    ContentFilter(CaptureDisplay display, std::vector<RunningApplication> applications, bool includes)
        : display_(std::move(display)), applications_(std::move(applications)), includes_(includes) {}

    CaptureDisplay display_;
    std::vector<RunningApplication> applications_;
    bool includes_;
};

}  // namespace tarn
