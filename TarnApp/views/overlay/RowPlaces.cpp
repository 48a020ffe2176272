#include "RowPlaces.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tarn {
namespace {

constexpr qreal narrowRow = 340;
constexpr qreal mostName = 160;
// The languages lose their codes before the name becomes narrower than this.
constexpr qreal usefulName = 60;
constexpr qreal leastName = 40;
constexpr qreal mostMeter = 60;
constexpr qreal usefulMeter = 20;
constexpr qreal leastMeter = 12;

}  // namespace

RowPlaces::RowPlaces(QObject* parent) : QObject(parent) {
    connect(this, &RowPlaces::wishesChanged, this, &RowPlaces::update);
}

// What is dispensable gives way first: the air in the frames of the languages, then their codes, then the
// name, then the meter. The dot, the source and the arrow always keep their size.
RowPlaces::Places RowPlaces::places(const Wishes& wishes) {
    Places places;
    const qreal spacing = wishes.width < narrowRow ? 4 : 6;
    const auto languages = [&] {
        const qreal frames = 2 * (wishes.frame - (places.isTight ? tightening : 0));
        return frames + (places.showsCodes ? wishes.from.width() + wishes.to.width()
                                           : wishes.from.height() + wishes.to.height());
    };
    // The width that is left for the meter and the name, with the gap after each.
    const auto room = [&] {
        return wishes.width - (wishes.dot + wishes.source + wishes.arrow + languages() + 4 * spacing);
    };
    const auto withGap = [spacing](qreal width) { return width > 0 ? width + spacing : 0; };
    const qreal least = withGap(usefulMeter) + withGap(std::min(wishes.name, usefulName));
    places.isTight = room() < least;
    places.showsCodes = !places.isTight || room() >= least;

    const qreal both = room();
    qreal name = std::min({wishes.name, mostName, both - withGap(usefulMeter) - spacing});
    name = name < std::min(wishes.name, leastName) ? 0 : std::floor(name);
    qreal meter = std::min(mostMeter, std::floor(both - withGap(name) - spacing));
    meter = meter < leastMeter ? 0 : meter;
    // If the row is still too wide, the longer of the two languages is cut before the shorter one.
    const qreal frame = wishes.frame - (places.isTight ? tightening : 0);
    qreal from = frame + (places.showsCodes ? wishes.from.width() : wishes.from.height());
    qreal to = frame + (places.showsCodes ? wishes.to.width() : wishes.to.height());
    const qreal left = std::max(0.0, from + to + both - withGap(name) - withGap(meter));
    if (from + to > left) {
        const qreal fair = left / 2;
        const qreal shorter = std::min({from, to, fair});
        (from < to ? from : to) = std::floor(shorter);
        (from < to ? to : from) = std::floor(left - std::floor(shorter));
    }

    qreal x = wishes.dot + spacing;
    const auto place = [&](qreal width) {
        const QRectF at(x, 0, width, width > 0 ? height : 0);
        x += withGap(width);
        return at;
    };
    places.source = place(wishes.source);
    places.name = place(name);
    places.meter = place(meter);
    places.from = place(from);
    places.arrow = place(wishes.arrow);
    places.to = place(to);
    return places;
}

void RowPlaces::update() {
    auto now = places({width_, dot_, source_, name_, arrow_, frame_, from_, to_});
    if (std::exchange(places_, now) != now) {
        Q_EMIT placesChanged();
    }
}

}  // namespace tarn
