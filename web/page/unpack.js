// Unpacks LZMA, by which the module takes a fifth less of the page than by the compression that browsers know. The
// format is that of "LZMA specification", Igor Pavlov, 2015.
"use strict";

const states = 12;
const positions = 16; // of a byte within what repeats
const halves = 1024; // a probability of one half, of 2048

/// Decodes bits, each by the probability that it is 0, which follows the bits that were decoded.
class RangeDecoder {
  constructor(bytes, at) {
    this.bytes = bytes;
    this.at = at + 5; // the first of five bytes is 0
    this.range = 0xffffffff;
    this.code = new DataView(bytes.buffer, bytes.byteOffset).getUint32(at + 1);
  }

  bit(probabilities, index) {
    const probability = probabilities[index];
    const bound = (this.range >>> 11) * probability;
    const one = this.code >= bound;
    if (one) {
      this.range -= bound;
      this.code -= bound;
      probabilities[index] = probability - (probability >> 5);
    } else {
      this.range = bound;
      probabilities[index] = probability + ((2048 - probability) >> 5);
    }
    this.refill();
    return one ? 1 : 0;
  }

  /// Decodes bits of which both values are equally probable, the highest first.
  evenBits(count) {
    let number = 0;
    for (let i = 0; i < count; i++) {
      this.range >>>= 1;
      const one = this.code >= this.range;
      if (one) this.code -= this.range;
      number = number * 2 + (one ? 1 : 0);
      this.refill();
    }
    return number;
  }

  refill() {
    if (this.range >= 0x1000000) return;
    this.range *= 256;
    this.code = this.code * 256 + this.bytes[this.at++];
  }

  /// Decodes a number of some bits, the highest first. Each bit has the probability of the bits before it.
  number(probabilities, first, bits) {
    let node = 1;
    for (let i = 0; i < bits; i++) node = node * 2 + this.bit(probabilities, first + node);
    return node - (1 << bits);
  }

  /// Does the same, the lowest bit first.
  reversedNumber(probabilities, first, bits) {
    let node = 1;
    let number = 0;
    for (let i = 0; i < bits; i++) {
      const bit = this.bit(probabilities, first + node);
      node = node * 2 + bit;
      number |= bit << i;
    }
    return number;
  }
}

function evenOdds(count) {
  return new Uint16Array(count).fill(halves);
}

/// Decodes the lengths of repeated strings.
class LengthDecoder {
  constructor() {
    this.choice = evenOdds(2);
    this.low = evenOdds(positions * 8);
    this.middle = evenOdds(positions * 8);
    this.high = evenOdds(256);
  }

  length(bits, position) {
    if (bits.bit(this.choice, 0) === 0) return 2 + bits.number(this.low, position * 8, 3);
    if (bits.bit(this.choice, 1) === 0) return 10 + bits.number(this.middle, position * 8, 3);
    return 18 + bits.number(this.high, 0, 8);
  }
}

/// Decodes how far back strings repeat.
class DistanceDecoder {
  constructor() {
    this.slots = evenOdds(4 * 64);
    this.near = evenOdds(128);
    this.lowest = evenOdds(16);
  }

  /// Returns the distance less one.
  distance(bits, length) {
    const slot = bits.number(this.slots, Math.min(length - 2, 3) * 64, 6);
    if (slot < 4) return slot;
    const more = (slot >> 1) - 1; // bits after the first two
    const base = (2 | (slot & 1)) * 2 ** more;
    if (slot < 14) return base + bits.reversedNumber(this.near, base - slot, more);
    return base + bits.evenBits(more - 4) * 16 + bits.reversedNumber(this.lowest, 0, 4);
  }
}

/// Decodes single bytes.
class LiteralDecoder {
  constructor(contextBits, positionBits) {
    this.contextBits = contextBits;
    this.positionMask = (1 << positionBits) - 1;
    this.probabilities = evenOdds(0x300 << (contextBits + positionBits));
  }

  /// `expected` is the byte that the last repetition would give; -1 after another literal.
  literal(bits, at, before, expected) {
    const context = ((at & this.positionMask) << this.contextBits) + (before >> (8 - this.contextBits));
    const first = 0x300 * context;
    let node = 1;
    let expecting = expected >= 0;
    while (node < 0x100) {
      let branch = 0;
      if (expecting) {
        expected <<= 1;
        branch = 0x100 + (expected & 0x100);
      }
      const bit = bits.bit(this.probabilities, first + branch + node);
      if (expecting) expecting = bit === ((expected >> 8) & 1);
      node = node * 2 + bit;
    }
    return node & 0xff;
  }
}

/// Returns the content of a .lzma file whose header states the size.
function unpacked(packed) {
  const header = new DataView(packed.buffer, packed.byteOffset);
  const contextBits = packed[0] % 9;
  const positionBits = Math.floor(packed[0] / 9) % 5;
  const positionMask = (1 << Math.floor(packed[0] / 45)) - 1;
  const output = new Uint8Array(header.getUint32(5, true));
  const bits = new RangeDecoder(packed, 13);
  const literals = new LiteralDecoder(contextBits, positionBits);
  const distances = new DistanceDecoder();
  const [lengths, repeatedLengths] = [new LengthDecoder(), new LengthDecoder()];
  const [isMatch, isShort] = [evenOdds(states * positions), evenOdds(states * positions)];
  const [isRepeated, isLast, isSecond, isThird] = [0, 1, 2, 3].map(() => evenOdds(states));
  let [last, second, third, fourth] = [0, 0, 0, 0];
  let state = 0;
  for (let at = 0; at < output.length; ) {
    const position = at & positionMask;
    if (bits.bit(isMatch, state * positions + position) === 0) {
      output[at] = literals.literal(bits, at, at > 0 ? output[at - 1] : 0, state >= 7 ? output[at - last - 1] : -1);
      state = state < 4 ? 0 : state < 10 ? state - 3 : state - 6;
      at++;
      continue;
    }
    let length;
    const afterMatch = state >= 7;
    if (bits.bit(isRepeated, state) === 0) {
      [second, third, fourth] = [last, second, third];
      length = lengths.length(bits, position);
      last = distances.distance(bits, length);
      state = afterMatch ? 10 : 7;
    } else {
      if (bits.bit(isLast, state) === 0) {
        if (bits.bit(isShort, state * positions + position) === 0) {
          output[at] = output[at - last - 1];
          state = afterMatch ? 11 : 9;
          at++;
          continue;
        }
      } else if (bits.bit(isSecond, state) === 0) {
        [last, second] = [second, last];
      } else if (bits.bit(isThird, state) === 0) {
        [last, second, third] = [third, last, second];
      } else {
        [last, second, third, fourth] = [fourth, last, second, third];
      }
      length = repeatedLengths.length(bits, position);
      state = afterMatch ? 11 : 8;
    }
    if (last >= at) throw new Error("the packed module is damaged");
    for (const end = Math.min(at + length, output.length); at < end; at++) output[at] = output[at - last - 1];
  }
  return output;
}
