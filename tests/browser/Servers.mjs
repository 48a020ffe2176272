// A real relay with a state of its own.

import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { existsSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';

export class Relay {
    static async start() {
        const relay = new Relay();
        relay.folder = mkdtempSync(join(tmpdir(), 'tarn-browser-'));
        const script = join(relay.folder, 'script.jsonl');
        writeFileSync(script, '{"t":0,"event":{"type":"session.created"}}\n');
        relay.process = spawn(
            `${process.env.TARN_BIN_DIR}/tarn-relay`,
            ['--listen', '127.0.0.1:0', '--engine', 'script', script],
            { env: { ...process.env, XDG_STATE_HOME: relay.folder }, stdio: ['ignore', 'pipe', 'pipe'] });
        relay.log = '';
        relay.process.stderr.on('data', (text) => { relay.log += text; });
        for await (const line of createInterface(relay.process.stdout)) {
            relay.url = line.replace('listening on ', '');
            relay.page = `${relay.url}/auth?return_to=macos`;
            return relay;
        }
        throw new Error(`tarn-relay did not start: ${relay.log}`);
    }

    /** How many tokens were ever issued: none is revoked here. */
    get tokenCount() {
        const file = join(this.folder, 'tarn/relay/tokens.json');
        return existsSync(file) ? JSON.parse(readFileSync(file, 'utf8')).tokens.length : 0;
    }

    async accountOf(token) {
        const answer = await fetch(`${this.url}/tarn/api/me`, { headers: { Authorization: `Bearer ${token}` } });
        return { status: answer.status, ...await answer.json() };
    }

    async stop() {
        const ended = this.process.exitCode === null ? once(this.process, 'exit') : undefined;
        this.process.kill();
        await ended;
        rmSync(this.folder, { recursive: true, force: true });
    }
}
