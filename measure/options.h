// The rules by which events are found.
#pragma once

namespace measure {

/// The voltage to which the thresholds refer.
enum class Reference {
  declared,   ///< the declared voltage
  sliding,    ///< the voltage of the last minute: each 10 cycles (60 Hz: 12) pass a filter, which pauses during events
  pre_event,  ///< each voltage's own usual level
};

/// Thresholds of IEC 61000-4-30, in per cent of the reference.
struct Thresholds {
  double dip = 90;          ///< a dip begins below it
  double swell = 110;       ///< a swell begins above it
  double interruption = 5;  ///< an interruption begins when all voltages are below it
  double hysteresis = 2;    ///< the event is over when the voltage is inside the threshold by this much
  double rapid_change = 3;  ///< of the declared voltage, or of the reference if none is declared; 0 disables the search
};

/// The rules for one analysis.
struct Options {
  Reference reference = Reference::pre_event;  ///< what the thresholds refer to
  Thresholds thresholds;                       ///< in per cent of it
  double declared_v = 0;                       ///< volts RMS that the measured voltages should have; 0: not known
  bool between_phases = false;                 ///< the voltages are between phases, not between phase and neutral
};

}  // namespace measure
