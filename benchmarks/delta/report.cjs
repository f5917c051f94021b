// Prints the table of delta.sh from its lines, one JSON object a document, and exits with 1 when a figure is not held.
const { createInterface } = require('node:readline');

const columns = ['document', 'ns/line', 'MB/s', 'peak/input', 'reference ns/line', 'times as fast', 'held'];
console.log(columns.map((name) => name.padEnd(18)).join(''));
createInterface({ input: process.stdin }).on('line', (line) => {
  const { name, ours, theirs } = JSON.parse(line);
  if (ours.lines !== theirs.lines) throw new Error(`${name}: ${ours.lines} lines against ${theirs.lines}`);
  const each = ours.nanoseconds / ours.lines;
  const ratio = theirs.nanoseconds / ours.nanoseconds;
  const held = ratio >= 5 && each <= (name.startsWith('plain') ? 40 : 250);
  if (!held) process.exitCode = 1;
  const figures = [
    each.toFixed(1),
    ((ours.bytes / ours.nanoseconds) * 1e3).toFixed(0),
    ((ours.peakKiB * 1024) / ours.bytes).toFixed(2),
    (theirs.nanoseconds / theirs.lines).toFixed(1),
    ratio.toFixed(1),
    held ? 'yes' : 'NO',
  ];
  console.log([name, ...figures].map((text) => text.padEnd(18)).join(''));
});
