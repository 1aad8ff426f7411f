#pragma once

/// Real and imaginary part.
template <class T>
struct COMPLEX {
  T re{};
  T im{};

  friend bool operator==(const COMPLEX&, const COMPLEX&) = default;
};
