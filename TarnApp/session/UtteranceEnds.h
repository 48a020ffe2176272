#pragma once

#include "TarnApp/server/TarnTranslateEvent.h"

namespace tarn {

/// Finds in the events of one stream where an utterance of the translated voice ends: where the service says
/// so or, if it does not, where it goes on with the next one.
class UtteranceEnds {
public:
    /// Whether, with `event`, the voice that came before is an utterance to its end; again where it is
    /// already. To be asked once for each event, in order.
    bool isAt(const TarnTranslateEvent& event);

private:
    bool tellsVoice_ = false;  ///< the service says when a voice is complete
    bool tellsResponses_ = false;
    bool isTextFinal_ = false;
};

}  // namespace tarn
