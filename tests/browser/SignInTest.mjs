// The sign-in page of a real relay in a real browser: the user's way through it with the keyboard, other sites'
// ways past it, and what it is like to read. Scripts are off in every page of the relay.

import assert from 'node:assert/strict';
import { networkInterfaces } from 'node:os';
import { after, before, test } from 'node:test';

import { faultsOf, focusIsVisible } from './Accessibility.mjs';
import { startBrowser } from './Browser.mjs';
import { Relay, startSite } from './Servers.mjs';

const elsewhere = 'attacker.example';
const browser = await startBrowser(elsewhere);
const relay = await Relay.start();

after(async () => {
    await browser.close();
    await relay.stop();
});

const ended = [];
before(() => { relay.process.once('exit', () => ended.push('the relay ended')); });

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

test('the link is there to press, should the browser have refused to go by itself', async () => {
    const { context, page } = await open();
    await page.goto(relay.page);
    await Promise.all([page.waitForRequest(isCallback), page.getByRole('button', { name: 'Sign in' }).click()]);
    // In a page of its own: Chromium drops what comes too soon after another attempt.
    const link = page.getByRole('link', { name: 'Open Tarn' });
    const target = await link.getAttribute('href');
    const second = await context.newPage();
    await second.setContent(`<a href="${target.replaceAll('&', '&amp;')}">go</a>`);
    const [request] = await Promise.all([second.waitForRequest(isCallback), second.getByText('go').click()]);
    assert.equal(request.url(), target);
    await context.close();
});

test('cancelling gives nothing away', async () => {
    const { context, page, handed } = await open();
    const count = relay.tokenCount;
    await page.goto(relay.page);
    await page.getByRole('button', { name: 'Cancel' }).click();
    await page.getByRole('heading', { name: 'Sign-in cancelled' }).waitFor();
    assert.equal(relay.tokenCount, count);
    assert.deepEqual(handed, []);
    await page.getByRole('link', { name: 'Sign in after all' }).click();
    await page.getByRole('button', { name: 'Sign in' }).waitFor();
    await context.close();
});

test('a wrong address is said at the field, which has the focus and keeps what was typed', async () => {
    const { context, page } = await open();
    await page.goto(relay.page);
    await page.getByLabel('E-mail address').fill('<b>"no address');
    await page.getByRole('button', { name: 'Sign in' }).click();
    const field = page.getByLabel('E-mail address');
    await page.getByRole('alert').waitFor();
    assert.equal(await field.inputValue(), '<b>"no address');
    assert.equal(await field.getAttribute('aria-invalid'), 'true');
    assert.match(await page.title(), /^Error: /);
    assert.ok(await field.evaluate((element) => element === document.activeElement));
    const tree = await page.locator('main').ariaSnapshot();
    assert.match(tree, /alert: Please enter an e-mail address/);
    await field.fill('ada@example.org');
    await Promise.all([page.waitForRequest(isCallback), page.keyboard.press('Enter')]);
    await context.close();
});

test('no other site can consent, even if it knew the value in the form', async () => {
    for (const [name, host] of [['another port of this machine', '127.0.0.1'], ['another site', 'localhost'],
                                ['a site of the net', elsewhere]]) {
        const { context, page, handed } = await open({ javaScriptEnabled: true });
        const count = relay.tokenCount;
        await page.goto(relay.page);
        const value = await page.locator('input[name=consent]').getAttribute('value');
        const site = await startSite(`<form method="post" action="${relay.page}">
            <input name="consent" value="${value}"><input name="email" value="mallory@example.org">
            <button name="answer" value="allow">A kitten</button></form>`);
        await page.goto(`http://${host}:${site.port}/`);
        const [answer] = await Promise.all([page.waitForResponse(/\/auth/), page.getByText('A kitten').click()]);
        assert.equal(answer.status(), 403, name);
        const sent = await page.evaluate(async ({ target, fields }) => {
            await fetch(target, { method: 'POST', mode: 'no-cors', credentials: 'include', body: new URLSearchParams(fields) });
            return true;
        }, { target: relay.page, fields: { consent: value, email: 'mallory@example.org', answer: 'allow' } }).catch(() => false);
        assert.equal(relay.tokenCount, count, `${name}, ${sent ? 'sent' : 'held back by the browser'}`);
        assert.deepEqual(handed, [], name);
        site.stop();
        await context.close();
    }
});

test('no other site can show the page in a frame or under a name of its own', async () => {
    const { context, page } = await open({ javaScriptEnabled: true });
    const site = await startSite(`<iframe src="${relay.page}"></iframe>`);
    const [answer] = await Promise.all([page.waitForResponse(/\/auth/), page.goto(`http://127.0.0.1:${site.port}/`)]);
    assert.equal(answer.status(), 403);
    assert.equal(await page.frames()[1].locator('form').count(), 0);
    site.stop();
    const rebound = await page.goto(`http://${elsewhere}:${relay.port}/auth?return_to=macos`);
    assert.equal(rebound.status(), 403);
    assert.equal(await page.locator('form').count(), 0);
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

test('a relay for a household shows its page to its own machine, and to others how to get a token', async (t) => {
    const address = Object.values(networkInterfaces()).flat().find((each) => each.family === 'IPv4' && !each.internal)?.address;
    if (!address) {
        t.skip('this machine has no address but the loopback one');
        return;
    }
    const household = await Relay.start('0.0.0.0');
    const { context, page } = await open({ viewport: { width: 320, height: 640 } });
    try {
        const answer = await page.goto(household.pageAt(address));
        assert.equal(answer.status(), 403);
        await page.getByText('tarn-relay issue-token').waitFor();
        assert.equal(await page.locator('form').count(), 0);
        assert.deepEqual(await faultsOf(page), []);
        await page.goto(household.pageAt('127.0.0.1'));
        await page.getByRole('button', { name: 'Sign in' }).click();
        await page.getByRole('link', { name: 'Open Tarn' }).waitFor();
        assert.equal(household.tokenCount, 1);
    } finally {
        await context.close();
        await household.stop();
    }
});

test('the relay is still there', () => { assert.deepEqual(ended, []); });
