// The sign-in page of a real relay in a real browser: the user's way through it with the keyboard, other sites'
// ways past it, and what it is like to read. Scripts are off in every page of the relay.

import assert from 'node:assert/strict';
import { after, test } from 'node:test';

import { faultsOf, focusIsVisible } from './Accessibility.mjs';
import { startBrowser } from './Browser.mjs';
import { Relay } from './Servers.mjs';

const browser = await startBrowser();
const relay = await Relay.start();

after(async () => {
    await browser.close();
    await relay.stop();
});

/** A fresh browser profile, what it asks "tarn:" for, and what it complains about. */
async function open(options = {}) {
    const context = await browser.newContext({ javaScriptEnabled: false, ...options });
    const page = await context.newPage();
    const handed = [];
    const complaints = [];
    page.on('request', (request) => {
        if (request.url().startsWith('tarn:')) {
            handed.push(request.url());
        }
    });
    page.on('console', (message) => {
        if (/Content Security Policy|Refused/.test(message.text())) {
            complaints.push(message.text());
        }
    });
    return { context, page, handed, complaints };
}

const isCallback = (request) => request.url().startsWith('tarn:');

async function historyOf(context, page) {
    const session = await context.newCDPSession(page);
    const { entries } = await session.send('Page.getNavigationHistory');
    return entries.map((entry) => entry.url);
}

test('the keyboard alone signs in, and the token stays out of what the browser keeps', async () => {
    const { context, page, handed, complaints } = await open();
    await page.goto(relay.page);
    const focused = [];
    for (let press = 0; press < 3; ++press) {
        await page.keyboard.press('Tab');
        assert.ok(await focusIsVisible(page));
        focused.push(await page.evaluate(() => document.activeElement.value || document.activeElement.name));
    }
    assert.match(focused[0], /^[^@]+@localhost$/);
    assert.deepEqual(focused.slice(1), ['allow', 'cancel']);

    await page.keyboard.press('Shift+Tab');
    await page.keyboard.press('Shift+Tab');
    await page.keyboard.press('Control+A');
    await page.keyboard.type("ada+o'neil&x@example.org");
    const [callback] = await Promise.all([page.waitForRequest(isCallback), page.keyboard.press('Enter')]);

    const url = new URL(callback.url());
    const token = url.searchParams.get('token');
    assert.match(callback.url(), /^tarn:\/\/login\?token=[\w-]{43}&user_email=ada%2Bo%27neil%26x%40example\.org$/);
    assert.deepEqual(await relay.accountOf(token).then(({ status, email }) => ({ status, email })),
                     { status: 200, email: "ada+o'neil&x@example.org" });
    assert.equal(callback.headers().referer, undefined);
    await page.getByRole('heading', { name: 'You are signed in' }).waitFor();
    assert.equal(await page.getByRole('link', { name: 'Open Tarn' }).getAttribute('href'), callback.url());
    assert.equal(page.url(), relay.page);
    assert.ok((await historyOf(context, page)).every((entry) => !entry.includes(token)));
    assert.ok(!relay.log.includes(token));

    // The same answer sent again, as a reload does, is worth nothing.
    const count = relay.tokenCount;
    await page.reload();
    await page.getByRole('alert').waitFor();
    assert.equal(relay.tokenCount, count);
    assert.deepEqual(handed, [callback.url()]);
    assert.deepEqual(complaints, []);
    await context.close();
});

test('every page can be read, heard and reached: in both languages and schemes, on a narrow screen too', async () => {
    for (const [colorScheme, locale, width] of
         [['light', 'en-GB', 1280], ['dark', 'en-GB', 320], ['light', 'zh-CN', 320], ['dark', 'zh-CN', 1280]]) {
        const look = { colorScheme, locale, viewport: { width, height: 720 } };
        const { context, page, complaints } = await open(look);
        const check = async (state) => {
            const where = `${state}, ${JSON.stringify(look)}`;
            assert.deepEqual(await faultsOf(page), [], where);
            assert.equal(await page.locator('html').getAttribute('lang'), locale === 'zh-CN' ? 'zh-Hans' : 'en', where);
        };
        await page.goto(relay.page);
        await check('form');
        await page.locator('#email').fill('nobody');
        await page.locator('button[value=allow]').click();
        await page.locator('#email-error').waitFor();
        await check('wrong address');
        assert.match(await page.title(), locale === 'zh-CN' ? /./ : /^Error: /);
        const field = page.locator('#email');
        assert.equal(await field.inputValue(), 'nobody');
        assert.equal(await field.getAttribute('aria-invalid'), 'true');
        assert.ok(await field.evaluate((element) => element === document.activeElement));
        await page.reload();
        await page.locator('.alert').waitFor();
        await check('used form');
        await page.locator('button[value=cancel]').click();
        await page.locator('a[href="tarn://open"]').waitFor();
        await check('cancelled');
        await page.goto(`${relay.url}/auth?return_to=elsewhere`);
        await check('stray');
        if (locale === 'zh-CN') {
            await page.goto(relay.page);
            await page.locator('#email').fill(`${'long.'.repeat(12)}name@example.org`);
            await page.keyboard.press('Enter');
            await page.locator('a[href^="tarn://login"]').waitFor();
            await check('signed in');
        }
        assert.deepEqual(complaints, []);
        await context.close();
    }
});
