// Generates trees of files for tests, the same for the same seed.
import { mkdirSync, utimesSync, writeFileSync } from 'node:fs';
import path from 'node:path';

/** Numbers from 0 up to, not including, a limit: xorshift, so that a seed is repeatable. */
export function randomFrom(seed) {
  let state = seed >>> 0 || 1;
  return (limit) => {
    state ^= state << 13;
    state >>>= 0;
    state ^= state >>> 17;
    state ^= state << 5;
    state >>>= 0;
    return state % limit;
  };
}

/** Beginnings of names in several scripts, each with its letter in an index. */
const STEMS = [
  ['apple', 'A'], ['Äpfel', 'A'], ['APPLE', 'A'], ['élan', 'E'], ['Élan', 'E'], ['Zoë', 'Z'], ['straße', 'S'],
  ['Strasse', 'S'], ['żółw', 'Z'], ['ñandú', 'N'], ['Ёж', 'Е'], ['ель', 'Е'], ['Жук', 'Ж'], ['Άλφα', 'Α'],
  ['βήτα', 'Β'], ['שלום', 'ש'], ['مرحبا', 'م'], ['あさひ', 'あ'], ['ガク', 'か'], ['がく', 'か'], ['가나', 'ㄱ'],
  ['나비', 'ㄴ'], ['山', '漢'], ['一', '漢'], ['ไทย', 'ไ'], ['1', '#'], ['01', '#'], ['2', '#'], ['10', '#'],
  ['_', '#'], ['(x)', '#'], ['🎞', '#'],
];
const EXTENSIONS = ['jpg', 'PNG', 'mp4', 'mp3', 'flac', 'm3u', 'txt'];
const MONTHS = [1_000_000_000, 1_400_000_000, 1_400_000_001, 1_700_000_000];

/** The letter under which an index has one of these names. */
export const letterOf = (name) => STEMS.find(([stem]) => name.startsWith(stem))[1];

/** Creates a tree of about `count` files, three folders wide and deep, with many equal sizes, times and names. */
export function makeTree(where, { seed, count }) {
  const random = randomFrom(seed);
  const pick = (from) => from[random(from.length)];
  const folders = [where];
  mkdirSync(where, { recursive: true });
  for (let number = 0; number < 12; number += 1) {
    const folder = path.join(pick(folders), `${pick(STEMS)[0]} ${random(3)}`);
    mkdirSync(folder, { recursive: true });
    folders.push(folder);
  }
  for (let number = 0; number < count; number += 1) {
    const file = path.join(pick(folders), `${pick(STEMS)[0]}${pick(['', ' 2', ' 10'])}.${pick(EXTENSIONS)}`);
    writeFileSync(file, Buffer.alloc(pick([0, 1, 1, 300])));
    utimesSync(file, pick(MONTHS), pick(MONTHS));
  }
  for (const folder of folders.reverse()) {
    utimesSync(folder, pick(MONTHS), pick(MONTHS));
  }
}
