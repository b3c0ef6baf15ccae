// The flat morphological filter in its plain form: all shifted copies of the input laid into a matrix, then each column
// searched from its first row to its last.
#pragma once

namespace plain {

/// Erosion: E[i] is the smallest of signal[i - (win - 1 - h) .. i + h], h = (win - 1) / 2; 1000000 stands outside.
/// The arrays may overlap. n and win are at least 1.
void FS(const float* signal, float* E, int n, int win);

/// Dilation: the largest likewise, with -1000000 outside.
void PZ(const float* signal, float* D, int n, int win);

/// Mean of the closing of the opening and the opening of the closing.
void lvbo(const float* signal, float* BS, int n, int win);

}  // namespace plain
