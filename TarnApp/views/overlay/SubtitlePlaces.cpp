#include "SubtitlePlaces.h"

#include <algorithm>
#include <utility>

namespace tarn {

SubtitlePlaces::SubtitlePlaces(QObject* parent) : QObject(parent) {
    connect(this, &SubtitlePlaces::wishesChanged, this, &SubtitlePlaces::update);
}

SubtitlePlaces::Places SubtitlePlaces::places(const Wishes& wishes, qreal lift) {
    Places places;
    const qreal room = std::max(0.0, wishes.height - 2 * wishes.margin);
    const bool bothFit = wishes.sourceLine + wishes.spacing + wishes.translationLine <= room;
    const qreal source = wishes.hasSource ? wishes.sourceHeight + wishes.spacing : 0;
    places.hasRoom = room >= wishes.translationLine;
    // Where only one of both fits, the translation is shown, and the source can be scrolled down to.
    places.above = bothFit ? 0 : source;
    places.sourceRoom = room;
    if (bothFit) {
        // The source may use what the translation leaves, and gets `leastPart` of the room at any rate.
        const qreal shared = room - wishes.spacing;
        places.sourceRoom =
            std::min(wishes.sourceNatural, std::max(shared * leastPart, shared - wishes.translationNatural));
    }
    places.sourceY = wishes.margin - places.above + std::min(lift, places.above);
    places.translationY = places.sourceY + source;
    places.translationRoom = room - (bothFit ? source : 0);
    return places;
}

void SubtitlePlaces::scroll(qreal points) {
    lift_ = std::clamp(lift_ + points, 0.0, places_.above);
    update();
}

void SubtitlePlaces::update() {
    const Wishes wishes{height_,        margin_,       spacing_,         hasSource_,         sourceLine_,
                        sourceNatural_, sourceHeight_, translationLine_, translationNatural_};
    const Places now = places(wishes, lift_);
    const Places before = std::exchange(places_, now);
    lift_ = std::min(lift_, now.above);
    if (before.sourceRoom != now.sourceRoom) {
        Q_EMIT sourceRoomChanged();
    }
    if (before != now) {
        Q_EMIT placesChanged();
    }
}

}  // namespace tarn
