#include "TranslationEngine.h"

#include <boost/json.hpp>

#include "TarnCore/realtime/EventNames.h"

namespace tarn::relay {

std::string errorEvent(const std::string& message) {
    return boost::json::serialize(boost::json::object{{"type", events::tarnError}, {"error", message}});
}

}  // namespace tarn::relay
