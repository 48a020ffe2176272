#pragma once

#include <functional>
#include <string>

namespace tarn::test {

/// Asks every 20 ms until it is so; throws std::runtime_error after 20 s.
void until(const std::string& what, const std::function<bool()>& isSo);

}  // namespace tarn::test
