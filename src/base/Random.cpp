#include "base/Random.h"

#include <QRandomGenerator64>

namespace velmaris {

struct Random::Impl {
  QRandomGenerator64 generator = QRandomGenerator64::securelySeeded();
};

Random::Random() : d(std::make_unique<Impl>()) {}

Random::~Random() = default;

int64_t Random::InRange(int64_t low, int64_t high) {
  if (high <= low) return low;
  const auto span = static_cast<quint64>(high) - static_cast<quint64>(low);
  if (span == UINT64_MAX) return static_cast<int64_t>(d->generator.generate64());
  return low + static_cast<int64_t>(d->generator.bounded(span + 1));
}

}  // namespace velmaris
