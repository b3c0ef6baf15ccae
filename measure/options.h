// By which rules events are told.
#pragma once

namespace measure {

/// The voltage that thresholds are per cent of.
enum class Reference {
  declared,   ///< the declared voltage
  sliding,    ///< the voltage of the last minute: each 10 cycles (60 Hz: 12) pass a filter, which pauses during events
  pre_event,  ///< each voltage's own usual level
};

/// Thresholds of IEC 61000-4-30, in per cent of the reference.
struct Thresholds {
  double dip = 90;
  double swell = 110;
  double interruption = 5;
  double hysteresis = 2;    ///< by how much a voltage must be past the threshold again for the event to be over
  double rapid_change = 3;  ///< of the declared voltage, or of the reference where none is declared; 0: not looked for
};

struct Options {
  Reference reference = Reference::pre_event;
  Thresholds thresholds;
  double declared_v = 0;        ///< volts RMS that the measured voltages should have; 0: not known
  bool between_phases = false;  ///< the voltages are between phases, not between phase and neutral
};

}  // namespace measure
