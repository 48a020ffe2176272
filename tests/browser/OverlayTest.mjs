// The page with the subtitles in a real browser, as OBS and people open it. TARN_PICTURE names a file for a picture of the
// page over another one.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { createServer } from 'node:http';
import { createInterface } from 'node:readline';
import { after, test } from 'node:test';

import { startBrowser } from './Browser.mjs';

const browser = await startBrowser();
const program = spawn(`${process.env.TARN_BIN_DIR}/overlaypage`, { stdio: ['pipe', 'pipe', 'inherit'] });
const address = await new Promise((resolve) => createInterface(program.stdout).once('line', resolve));
const show = (...sources) => program.stdin.write(`${JSON.stringify(sources)}\n`);
const said = (name, original, translation) => ({ name, original, translation });

after(async () => {
    await browser.close();
    program.stdin.end();
});

async function open(query = '', options = {}) {
    const context = await browser.newContext({ viewport: { width: 1280, height: 720 }, ...options });
    const page = await context.newPage();
    const complaints = [];
    page.on('console', (message) => complaints.push(message.text()));
    page.on('pageerror', (error) => complaints.push(error.message));
    await page.goto(address + query);
    return { context, page, complaints };
}
const hasText = (page, text) => page.waitForFunction((wanted) => document.body.innerText.includes(wanted), text);

test('what is said is shown as text, whatever it is, and nothing else of it happens', async () => {
    const { context, page, complaints } = await open();
    const wicked = '<img src=x onerror=alert(1)><script>document.title="taken"</script> --> \u202e=cmd';
    show(said('Zoom', 'hello', wicked), said('Mic', 'صباح الخير، هل تسمعونني؟', '早上好。'.repeat(200)));
    await hasText(page, '早上好');
    assert.equal(await page.locator('.source').nth(0).locator('.translation').textContent(), wicked);
    assert.equal(await page.locator('img').count(), 0);
    assert.equal(await page.title(), 'Tarn');
    const long = page.locator('.source').nth(1).locator('.translation');
    assert.ok(await long.evaluate((line) => line.scrollHeight <= line.clientHeight + 1), 'its end is in view');
    assert.ok((await long.textContent()).endsWith('早上好。'));
    show(said('Zoom', 'bye', 'adiós'));
    await hasText(page, 'adiós');
    assert.equal(await page.locator('.source').count(), 1);
    const background = await page.evaluate(() => getComputedStyle(document.body).backgroundColor);
    assert.equal(background, 'rgba(0, 0, 0, 0)');
    assert.deepEqual(complaints, []);
    await context.close();
});

test('the address chooses a source and its texts, and variables the look', async () => {
    show(said('Zoom', 'hello', 'hola'), said('Mic', 'good morning', 'buenos días'));
    const { context, page } = await open('&source=2&show=translation');
    await hasText(page, 'buenos días');
    assert.equal((await page.locator('body').innerText()).trim(), 'buenos días');
    await page.goto(`${address}&show=original`);
    await hasText(page, 'good morning');
    assert.equal(await page.locator('.translation').count(), 0);
    await page.evaluate(() => document.documentElement.style.setProperty('--tarn-original-size', '50px'));
    assert.equal(await page.locator('.original').first().evaluate((line) => getComputedStyle(line).fontSize), '50px');
    await context.close();
});

test('a page of another site learns nothing, by any way a browser offers', async () => {
    const site = createServer((_, answer) => answer.setHeader('Content-Type', 'text/html').end('<body></body>'));
    await new Promise((resolve) => site.listen(0, '127.0.0.1', resolve));
    const context = await browser.newContext();
    const page = await context.newPage();
    await page.goto(`http://127.0.0.1:${site.address().port}/`);
    const events = address.replace('/overlay', '/overlay/events');
    const outcome = await page.evaluate(async ([overlay, stream]) => {
        const fetched = await fetch(overlay).then(() => 'read', () => 'refused');
        const source = new EventSource(stream);
        const heard = await new Promise((resolve) => {
            source.onmessage = () => resolve('heard');
            source.onerror = () => resolve('refused');
        });
        source.close();
        const frame = document.createElement('iframe');
        frame.src = overlay;
        document.body.append(frame);
        await new Promise((resolve) => { frame.onload = resolve; });
        let framed = 'refused';
        try { framed = frame.contentDocument.body.innerText; } catch { /* as it should be */ }
        return [fetched, heard, framed || 'refused'];
    }, [address, events]);
    assert.deepEqual(outcome, ['refused', 'refused', 'refused']);
    await context.close();
    site.close();
});

if (process.env.TARN_PICTURE) {
    test('a picture of it over another one', async () => {
        show(said('Zoom', 'Shall we begin with the second chapter?', '¿Empezamos con el segundo capítulo?'),
             said('Mic', 'The travel budget has grown by a third.', 'El presupuesto de viajes ha crecido un tercio.'));
        const { context, page } = await open();
        await hasText(page, 'tercio');
        await page.evaluate(() => {
            document.documentElement.style.background =
                'linear-gradient(160deg, #d7e6f2 0%, #f2ede4 45%, #5d7a52 46%, #2d4429 100%)';
        });
        await page.screenshot({ path: process.env.TARN_PICTURE });
        await context.close();
    });
}
