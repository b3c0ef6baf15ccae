// Decodes text in a named character set with what the browser has for it, with the results of the command.
"use strict";

const notACharacter = "\ufffd";

/// Sets of which programs differ in what they take their names for. For each, the characters of the bytes from 0x80 on;
/// those of further bytes have the byte's own number.
const ownSets = {
  iso88591: "",
  ascii: notACharacter.repeat(128),
  windows1252: "\u20ac\ufffd\u201a\u0192\u201e\u2026\u2020\u2021\u02c6\u2030\u0160\u2039\u0152\ufffd\u017d\ufffd" +
    "\ufffd\u2018\u2019\u201c\u201d\u2022\u2013\u2014\u02dc\u2122\u0161\u203a\u0153\ufffd\u017e\u0178",
};
ownSets.usascii = ownSets.ascii;
ownSets.cp1252 = ownSets.windows1252;

function inOwnSet(bytes, high) {
  const numbers = Uint16Array.from(bytes, (byte) => (byte >= 0x80 && byte < 0x80 + high.length ? high.charCodeAt(byte - 0x80) : byte));
  return new TextDecoder("utf-16le", { ignoreBOM: true }).decode(numbers);
}

class Charset {
  /// Throws RangeError if the browser does not know the character set.
  constructor(name) {
    this.own = ownSets[name.toLowerCase().replace(/[-_ ]/g, "")];
    this.decoder = new TextDecoder(name, { fatal: true, ignoreBOM: true });
    const { encoding } = this.decoder;
    this.step = encoding.startsWith("utf-16") ? 2 : 1;
    this.chinese = encoding === "gbk" || encoding === "gb18030";
    // The standard of browsers gives control characters to the bytes that these sets leave free.
    this.free = encoding.startsWith("windows-") ? /[\x80-\x9f]/g : /$^/g;
  }

  /// Returns the text, in which U+FFFD replaces each byte that does not belong to a character.
  text(bytes) {
    if (this.own !== undefined) return inOwnSet(bytes, this.own);
    const whole = this.tried(bytes);
    // Browsers also read a lone byte as a euro sign in Chinese text.
    const certain = whole !== null && !(this.chinese && whole.includes("\u20ac"));
    return (certain ? whole : this.byCharacters(bytes)).replace(this.free, notACharacter);
  }

  tried(bytes) {
    try {
      return this.decoder.decode(bytes);
    } catch {
      return null;
    }
  }

  byCharacters(bytes) {
    const pieces = [];
    for (let at = 0; at < bytes.length; ) {
      let end = at;
      while (this.step === 1 && end < bytes.length && bytes[end] < 0x80) end++;
      const piece = end > at ? this.tried(bytes.subarray(at, end)) : this.character(bytes, at, (length) => (end += length));
      pieces.push(piece ?? notACharacter);
      at = piece === null ? at + 1 : end;
    }
    return pieces.join("");
  }

  /// Returns the character at a position and tells its length; null if there is none.
  character(bytes, at, tell) {
    const longest = 4;
    if (this.chinese && bytes[at] === 0x80) return null;
    for (let length = this.step; length <= longest && at + length <= bytes.length; length += this.step) {
      const text = this.tried(bytes.subarray(at, at + length));
      if (text === null) continue;
      tell(length);
      return text;
    }
    return null;
  }
}

/// Returns the functions by which the module decodes text. `memory` gives its memory once it runs.
function charsetImports(memory) {
  const known = new Map();
  let decoded = new Uint8Array();
  const bytesAt = (address, size) => new Uint8Array(memory().buffer, address >>> 0, size >>> 0);
  const named = (address, size) => {
    const name = new TextDecoder().decode(bytesAt(address, size));
    if (!known.has(name)) known.set(name, new Charset(name));
    return known.get(name);
  };
  return {
    dipx_knows_charset(name, length) {
      try {
        return named(name, length) ? 1 : 0;
      } catch {
        return 0;
      }
    },
    dipx_decode(name, length, bytes, size) {
      decoded = new TextEncoder().encode(named(name, length).text(bytesAt(bytes, size)));
      return decoded.length;
    },
    dipx_take_decoded(text) {
      bytesAt(text, decoded.length).set(decoded);
      decoded = new Uint8Array();
    },
  };
}
