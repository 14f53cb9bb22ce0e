// Measuring one thing against another in one process, in turns, so that a machine
// whose speed drifts slows both alike.

/** The value in the middle. */
export function median(values) {
  const sorted = [...values].sort((a, b) => a - b);
  return sorted[Math.floor(sorted.length / 2)];
}

/**
 * Runs `subject` and `floor` in turns and returns the medians of their times and
 * of the ratio between the two of a turn. Both return how long they took, in
 * milliseconds (or a promise of it).
 */
export async function compare(subject, floor, turns = 15) {
  await subject();
  await floor();
  const times = { subject: [], floor: [], ratio: [] };
  for (let turn = 0; turn < turns; turn += 1) {
    // Which one comes first alternates: the second may profit from the first.
    let a;
    let b;
    if (turn % 2 === 0) {
      a = await subject();
      b = await floor();
    } else {
      b = await floor();
      a = await subject();
    }
    times.subject.push(a);
    times.floor.push(b);
    times.ratio.push(a / b);
  }
  return { subject: median(times.subject), floor: median(times.floor), ratio: median(times.ratio),
           spread: [Math.min(...times.ratio), Math.max(...times.ratio)] };
}

/** How long a function takes, in milliseconds. */
export function time(work) {
  const began = performance.now();
  work();
  return performance.now() - began;
}

const short = (number) => (number >= 100 ? number.toFixed(0) : number.toPrecision(3));

/** Prints one figure: a name, the two values with their unit, and their ratio. */
export function report(name, unit, { subject, floor, ratio, spread }) {
  console.log(`${name.padEnd(46)} ${short(subject).padStart(8)} ${unit}  floor ${short(floor).padStart(8)} ${unit}` +
              `  ratio ${ratio.toFixed(2)}  (${spread.map((value) => value.toFixed(2)).join(' to ')})`);
}
