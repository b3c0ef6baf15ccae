// The flat morphological filter in its plain form: all shifted copies of the input are put into a matrix, and each
// column is searched from its first row to its last.
#pragma once

namespace plain {

/// Erosion: E[i] is the smallest of signal[i - (win - 1 - h) .. i + h] with h = (win - 1) / 2, where positions outside
/// count as 1000000. The arrays may overlap. n and win are at least 1.
void FS(const float* signal, float* E, int n, int win);

/// Dilation: D[i] is the largest of the same range, where positions outside count as -1000000.
void PZ(const float* signal, float* D, int n, int win);

/// Computes the mean of the closing of the opening and the opening of the closing.
void lvbo(const float* signal, float* BS, int n, int win);

}  // namespace plain
