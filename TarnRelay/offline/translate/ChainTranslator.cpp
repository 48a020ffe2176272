#include "ChainTranslator.h"

#include <deque>
#include <set>

#include "TarnPlatform/base/Log.h"

namespace tarn::relay {
namespace {

// Every step adds mistakes of its own; after three, little is left of a sentence.
constexpr std::size_t mostSteps = 3;

std::string written(const std::vector<std::string>& way) {
    std::string text;
    for (const auto& language : way) {
        text += (text.empty() ? "" : " -> ") + language;
    }
    return text;
}

}  // namespace

ChainTranslator::ChainTranslator(std::unique_ptr<Translator> direct) : direct_(std::move(direct)) {
    std::map<std::string, std::set<std::string>> neighbours;
    for (const auto& [source, target] : direct_->pairs()) {
        neighbours[source].insert(target);
    }
    for (const auto& [source, unused] : neighbours) {
        // The search goes breadth first, so that the first way found to a language is a shortest one.
        std::deque<std::vector<std::string>> open{{source}};
        while (!open.empty()) {
            const auto way = std::move(open.front());
            open.pop_front();
            if (way.size() > mostSteps) {
                continue;
            }
            for (const auto& next : neighbours[way.back()]) {
                auto longer = way;
                longer.push_back(next);
                if (next != source && ways_.try_emplace({source, next}, longer).second) {
                    open.push_back(std::move(longer));
                }
            }
        }
    }
}

std::vector<std::pair<std::string, std::string>> ChainTranslator::pairs() const {
    std::vector<Pair> result;
    result.reserve(ways_.size());
    for (const auto& [pair, way] : ways_) {
        result.push_back(pair);
    }
    return result;
}

std::shared_ptr<const void> ChainTranslator::hold(const std::string& source,
                                                  const std::string& target) const {
    auto steps = std::make_shared<std::vector<std::shared_ptr<const void>>>();
    if (const auto found = ways_.find({source, target}); found != ways_.end()) {
        const auto& way = found->second.languages;
        for (std::size_t step = 1; step < way.size(); ++step) {
            steps->push_back(direct_->hold(way[step - 1], way[step]));
        }
    }
    return steps;
}

Result<std::string> ChainTranslator::translate(const std::string& text, const std::string& source,
                                               const std::string& target) {
    if (source == target) {
        return text;
    }
    auto found = ways_.find({source, target});
    if (found == ways_.end()) {
        return failure(ErrorKind::unavailable,
                       "no translator from " + source + " to " + target + " is installed");
    }
    const auto& way = found->second.languages;
    if (way.size() > 2 && !found->second.announced.exchange(true)) {
        logLine("[relay] " + source + " to " + target + " is chained: " + written(way));
    }
    Result<std::string> result = text;
    for (std::size_t step = 1; step < way.size() && result; ++step) {
        result = direct_->translate(*result, way[step - 1], way[step]);
    }
    return result;
}

}  // namespace tarn::relay
