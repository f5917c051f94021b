// The JavaScript reference: node reference.cjs FILE prints the nanoseconds of the least disturbed run from JSON to lines, and their number.
const { readFileSync } = require('node:fs');
const Delta = require('quill-delta').default ?? require('quill-delta');

const json = readFileSync(process.argv[2], 'utf8');
let lines = 0;
function run() {
  lines = 0;
  const begin = process.hrtime.bigint();
  new Delta(JSON.parse(json)).eachLine(() => {
    ++lines;
  });
  return Number(process.hrtime.bigint() - begin);
}

const times = [];
const end = process.hrtime.bigint() + 2_000_000_000n;
do times.push(run());
while (process.hrtime.bigint() < end || times.length < 3);
console.log(JSON.stringify({ nanoseconds: times.reduce((a, b) => Math.min(a, b)), lines }));
