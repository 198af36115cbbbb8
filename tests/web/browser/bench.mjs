// The things that the tests play with: the virtual PIN pad, applications, and the browser.
import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { chromium } from 'playwright-core';

const patience = 60000;

export function until(what, condition, time = patience) {
  const end = Date.now() + time;
  return new Promise((resolve, reject) => {
    const look = async () => {
      const found = await condition();
      if (found) resolve(found);
      else if (Date.now() > end) reject(new Error(`not in time: ${what}`));
      else setTimeout(look, 10);
    };
    look();
  });
}

// A program with what it printed and the status it ended with.
export class Program {
  constructor(path, args, input = '') {
    this.output = '';
    this.errors = '';
    this.process = spawn(path, args, { stdio: ['pipe', 'pipe', 'pipe'] });
    this.process.stdout.on('data', (data) => { this.output += data; });
    this.process.stderr.on('data', (data) => { this.errors += data; });
    this.process.stdin.on('error', () => {});
    this.process.stdin.end(input);
    this.ended = new Promise((resolve) => this.process.on('close', resolve));
  }

  stop() {
    this.process.kill('SIGTERM');
    return this.ended;
  }
}

export class Bench {
  // The link to the port stands in a folder of its own, unless a name is given.
  static async start(simulator, scenario, link) {
    const bench = new Bench();
    bench.folder = mkdtempSync(join(tmpdir(), 'pinpad-browser-'));
    bench.port = link || join(bench.folder, 'pinpad');
    const file = join(bench.folder, 'scenario');
    writeFileSync(file, scenario);
    bench.device = new Program(simulator,
      ['--scenario', file, '--link', bench.port, '--quiet', '--web', '0']);
    const told = await until('the address of the page', () => /open (\S+)/.exec(bench.device.errors));
    bench.url = told[1];
    bench.browser = await chromium.launch({
      executablePath: process.env.CHROMIUM,
      args: process.getuid() === 0 ? ['--no-sandbox'] : [],
    });
    return bench;
  }

  async open(options = {}) {
    const page = await this.browser.newPage({ viewport: { width: 1360, height: 980 }, ...options });
    page.setDefaultTimeout(patience);
    page.problems = [];
    page.on('pageerror', (error) => page.problems.push(String(error)));
    page.on('console', (line) => {
      if (line.type() === 'error') page.problems.push(line.text());
    });
    await page.goto(this.url);
    await page.getByText('live', { exact: true }).waitFor();
    return page;
  }

  async stop() {
    await this.browser.close();
    await this.device.stop();
    rmSync(this.folder, { recursive: true });
  }
}
