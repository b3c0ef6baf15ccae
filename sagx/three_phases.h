// Returns the smallest or largest of three phases. The first one is replaced only by a strictly smaller or larger one.
#pragma once

namespace sagx {

inline float smallest_of(float a, float b, float c) {
  float smallest = a;
  if (b < smallest) smallest = b;
  if (c < smallest) smallest = c;
  return smallest;
}

inline float largest_of(float a, float b, float c) {
  float largest = a;
  if (b > largest) largest = b;
  if (c > largest) largest = c;
  return largest;
}

}  // namespace sagx
