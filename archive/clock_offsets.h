// Estimates by how much the clocks of recorders differ, from dips that several of them have seen.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace archive {

/// A dip as one site has seen it. A network changes everywhere at the same moment, so that the same dip has its first
/// and its last abrupt change at times that differ by the clocks alone.
struct SeenDip {
  std::size_t site = 0;  ///< index of the site
  double first_s = 0;    ///< first change of the waveform, by the clock of the site
  double last_s = 0;     ///< last change
};

/// How far the clock of a site is ahead of that of another one.
struct ClockOffset {
  std::string site;
  std::string reference;   ///< the site whose clock it is compared with
  double ahead_s = 0;      ///< negative if the clock is behind
  double deviation_s = 0;  ///< standard deviation of what the single dips say, seconds
  std::size_t dips = 0;    ///< number of dips that agree on it
};

/// Compares the clocks of sites, which are given by their names. Two sites are compared if at least three dips within a
/// minute of each other, with equal times from the first to the last change within 10 ms, have differences that agree
/// within 40 ms, and if no other difference has as many. Sites that share no dips with each other are compared through
/// a third one. The reference of connected sites is the one that shares the most dips. Returns an entry for each
/// compared site but the references, by name.
std::vector<ClockOffset> clock_offsets(std::vector<SeenDip> dips, const std::vector<std::string>& sites);

}  // namespace archive
