// Runs the Khronos glTF validator on each .glb named on the command line, prints its errors and
// warnings, and exits non-zero when any file has an error or a warning (or cannot be read).
import { readFile } from 'node:fs/promises';
import validator from 'gltf-validator';

const files = process.argv.slice(2);
if (files.length === 0) {
  console.error('usage: node validate-glb.mjs FILE.glb...');
  process.exit(2);
}

let clean = true;
for (const file of files) {
  let report;
  try {
    const bytes = await readFile(file);
    report = await validator.validateBytes(new Uint8Array(bytes), {
      maxIssues: 0,
      writeTimestamp: false,
    });
  } catch (error) {
    console.log(`${file}: cannot validate: ${error}`);
    clean = false;
    continue;
  }
  const issues = report.issues;
  console.log(`${file}: ${issues.numErrors} errors, ${issues.numWarnings} warnings, ` +
              `${issues.numInfos} infos, ${issues.numHints} hints`);
  for (const message of issues.messages) {
    if (message.severity <= 1) {
      const kind = message.severity === 0 ? 'error' : 'warning';
      console.log(`  ${kind} ${message.code} at ${message.pointer ?? '-'}: ${message.message}`);
    }
  }
  if (issues.numErrors > 0 || issues.numWarnings > 0 || issues.truncated) {
    clean = false;
  }
}
process.exit(clean ? 0 : 1);
