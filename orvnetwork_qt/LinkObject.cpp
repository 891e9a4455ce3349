#include "orvnetwork_qt/LinkObject.h"

#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/LinkStatus.h>

#include <orvnetwork_qt/Convert.h>

#include <QPointer>
#include <string_view>
#include <utility>

namespace orv::qt {

static_assert(static_cast<int>(LinkState::Stopped) == LinkObject::Stopped);
static_assert(static_cast<int>(LinkState::Offline) == LinkObject::Offline);
static_assert(static_cast<int>(LinkState::Connecting) == LinkObject::Connecting);
static_assert(static_cast<int>(LinkState::Confirming) == LinkObject::Confirming);
static_assert(static_cast<int>(LinkState::Up) == LinkObject::Up);
static_assert(static_cast<int>(LinkState::Waiting) == LinkObject::Waiting);

LinkObject::LinkObject(Client& client, QObject* parent)
    : QObject(parent), link_(client.link()), now_(link_.snapshot()), upTold_(now_.isUp()) {
  changed_ = link_.onChanged([this](const LinkChange& change) { take(change.now); });
}

LinkObject::~LinkObject() = default;

void LinkObject::take(const LinkSnapshot& now) {
  if (now == now_) return;
  now_ = now;
  const QPointer<LinkObject> self(this);
  Q_EMIT changed();
  // A loop in a slot may have gone on to the next change, and told of that.
  if (self && std::exchange(upTold_, isUp()) != isUp()) Q_EMIT upChanged(isUp());
}

LinkObject::State LinkObject::state() const {
  return static_cast<State>(now_.state);
}

QDateTime LinkObject::since() const {
  return moment(now_.since);
}

QDateTime LinkObject::nextAttempt() const {
  return now_.until ? moment(*now_.until) : QDateTime();
}

int LinkObject::attempt() const {
  return static_cast<int>(now_.attempt);
}

QString LinkObject::failureText() const {
  return now_.failure ? text(std::string_view(now_.failure->text)) : QString();
}

QString LinkObject::trouble() const {
  return now_.failure ? text(nameOf(now_.failure->trouble)) : QString();
}

QString LinkObject::sentence() const {
  return text(std::string_view(now_.sentence()));
}

void LinkObject::tryNow() {
  link_.tryNow();
}

}  // namespace orv::qt
