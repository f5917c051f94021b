// Writes the documents that both sides of the benchmark read: node documents.mjs FOLDER
import { writeFileSync } from 'node:fs';

const folder = process.argv[2];
const words = 'the quick brown fox jumps over a lazy dog while nobody in the café is looking at 日本 today'.split(' ');

// Always the same numbers (a linear congruence), so that figures of different days can be compared.
let seed = 1;
const random = (limit) => (seed = (seed * 48271) % 2147483647) % limit;
const text = (count) => Array.from({ length: count }, () => words[random(words.length)]).join(' ');

const lineAttributes = [
  { list: 'bullet' },
  { list: 'bullet', indent: 1 },
  { list: 'ordered' },
  { list: 'ordered', indent: 2 },
  { list: 'unchecked' },
  { header: 2 },
  { align: 'center' },
];

// A line of text with a run in bold or a link now and then, ended by a separator with attributes of its own.
function styledLine() {
  const ops = [{ insert: text(5) + ' ' }, { insert: text(2), attributes: { bold: true } }];
  if (random(10) === 0) ops.push({ insert: text(1), attributes: { link: `https://example.com/${random(1e6)}` } });
  ops.push({ insert: '\n', attributes: lineAttributes[random(lineAttributes.length)] });
  return ops;
}

function write(name, ops) {
  writeFileSync(`${folder}/${name}.json`, JSON.stringify({ ops }));
}

const styled = (count) => Array.from({ length: count }, styledLine).flat();
const plain = (count) => [{ insert: Array.from({ length: count }, () => text(7) + '\n').join('') }];

write('styled-20', styled(20));
write('plain-10000', plain(10_000));
for (const count of [1_000, 10_000, 100_000, 1_000_000]) write(`styled-${count}`, styled(count));
write('plain-1000000', plain(1_000_000));
