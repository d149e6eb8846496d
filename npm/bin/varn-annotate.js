#!/usr/bin/env node
// Annotates PGN collections with the Varn engine; see --help.
import { main } from '../src/annotate/cli.js';

process.exitCode = await main(process.argv.slice(2));
