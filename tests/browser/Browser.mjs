// Debian's Chromium under Playwright's driver. Where one of them is missing, the test program ends as skipped.

import { existsSync } from 'node:fs';
import { createRequire } from 'node:module';

const skipped = 77;
const chromium = process.env.CHROMIUM ?? '/usr/bin/chromium';

function skip(reason) {
    console.log(`skipped: ${reason}`);
    process.exit(skipped);
}

function driver() {
    try {
        return createRequire(`${process.env.TARN_BROWSER_DRIVER}/package.json`)('playwright-core');
    } catch (error) {
        if (error.code !== 'MODULE_NOT_FOUND') {
            throw error;
        }
        return skip('playwright-core is not there; scripts/install-browser-driver fetches it from npm');
    }
}

export async function startBrowser() {
    if (!existsSync(chromium)) {
        skip(`${chromium} is not installed`);
    }
    const args = process.getuid() === 0 ? ['--no-sandbox'] : []; // Chromium has no sandbox for root
    return await driver().chromium.launch({ executablePath: chromium, args });
}
