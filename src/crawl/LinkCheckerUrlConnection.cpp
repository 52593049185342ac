// The record as the delegate of its own connection: what becomes of a response, a redirect,
// a challenge, a body, a failure, and in what order the hub hears of it.
#include "crawl/LinkCheckerHub.h"
#include "crawl/LinkCheckerUrl.h"
#include "crawl/UrlRules.h"
#include "parsing/KestParser.h"

#include <QtDebug>

void LinkCheckerUrl::startConnection(const UrlRequest& request, int identifier) {
    connection = std::make_unique<myNSURLConnection>(request, this, identifier);
}

void LinkCheckerUrl::cancelConnection() {
    if (connection)
        connection->cancel();
}

int LinkCheckerUrl::identifierOf(myNSURLConnection* c) const {
    return c ? c->getIdentifier() : 0;
}

// A recheck wants the status alone: the transfer ends here and the hub hears of it at once.
void LinkCheckerUrl::finishRecheck(myNSURLConnection* c) {
    if (c)
        c->cancel();
    auto me = self();
    owner->incNumberDone(me);
    owner->statusHasChangedFordO(me);
    owner->threadHasFinished(me);
    beingRechecked = false;
}

void LinkCheckerUrl::postThreadHasFinished() {
    auto me = self();
    owner->postToCrawl([me] {
        // Out of the connection's own calls now: a finished one is let go, as records outlive
        // their requests by the whole crawl.
        if (me->connection && me->connection->isCancelled())
            me->connection.reset();
        me->owner->threadHasFinished(me);
    });
}

// The validator's verdict is in: the collection counts it, one pass later.
void LinkCheckerUrl::postIncNumberValidated(myNSURLConnection* c) {
    validatorBody.reset();
    if (c)
        c->cancel();
    auto me = self();
    owner->postToCrawl([me] { me->owner->incNumberValidated(me); });
}

// The validator answers its POST with a redirect to the GET form, which is followed. Its hops are
// its own: the page's redirects, status and counts stay as the crawl left them, and a service
// that redirects in a loop gives the page a verdict of that name.
std::optional<UrlRequest> LinkCheckerUrl::validatorRedirect(myNSURLConnection* c, const UrlRequest& request) {
    if (owner->tooManyRedirects(validatorRedirects)) {
        qInfo().noquote() << QString("recurring redirect from the validator: %1").arg(getActualLinkUrl());
        setValidatorStatus("recurring redirect");
        postIncNumberValidated(c);
        return std::nullopt;
    }
    ++validatorRedirects;
    if (request.url.isEmpty()) {
        setValidatorStatus("redirection to nowhere");
        postIncNumberValidated(c);
        return std::nullopt;
    }
    return request;
}

void LinkCheckerUrl::postIncNumberDoneAndThreadHasFinished() {
    auto me = self();
    owner->postToCrawl([me] {
        me->owner->incNumberDone(me);
        me->owner->threadHasFinished(me);
    });
}

std::optional<UrlRequest>
LinkCheckerUrl::connectionWillSendRequestRedirectResponse(myNSURLConnection* c, const UrlRequest& request,
                                                          const UrlResponse* redirect) {
    if (identifierOf(c) == myNSURLConnection::validatorIdentifier) {
        if (!redirect) {
            validatorRedirects = 0;
            return request;
        }
        return validatorRedirect(c, request);
    }
    if (!redirect)
        return request;
    // The target keeps its host's letter case: as the Location writes it, or, for a target on
    // the same host, as this record's URL does.
    const QString locationHost =
        UrlRules::writtenHost(QString::fromUtf8(headerValue(redirect->headerFields, "Location")));
    const QString writtenHost =
        locationHost.isNull() ? UrlRules::writtenHost(getActualLinkUrl()) : locationHost;
    const QString newText = UrlRules::withHost(request.url.toString(QUrl::FullyEncoded), request.url.host(),
                                               UrlRules::inWrittenCase(request.url.host(), writtenHost));
    const bool hadPercent = newText.contains('%');
    if (owner->tooManyRedirects(numberOfRedirects)) {
        qInfo().noquote() << QString("recurring redirect: %1").arg(getActualLinkUrl());
        setStatus("recurring redirect");
        postIncNumberDoneAndThreadHasFinished();
        c->cancel();
        return std::nullopt;
    }
    ++numberOfRedirects;
    UrlRequest next = request;
    next.setValueForHTTPHeaderField(request.url.host().toUtf8(), "Host");
    if (identifierOf(c) == myNSURLConnection::highlightIdentifier)
        return next;
    if (request.url.isEmpty() || newText.isEmpty()) {
        setStatus("redirection to nowhere");
        postIncNumberDoneAndThreadHasFinished();
        c->cancel();
        return std::nullopt;
    }
    // Percent escapes are read back in the site's encoding; escapes that are no text in it stay.
    const QString readable =
        hadPercent ? UrlRules::percentDecoded(newText, owner->getDetectedEncoding()).value_or(newText)
                   : newText;
    if (readable == getActualLinkUrl()) {
        qInfo().noquote() << QString("redir to identical url %1 - just returning").arg(readable);
        return next;
    }
    if (identifierOf(c) == myNSURLConnection::validatorIdentifier)
        return next;
    if (nssredir.isEmpty()) {
        if (isEqualToUrlTrimmedIgnoreTrailingSlash(readable, owner->shouldTrim(),
                                                   owner->shouldIgnoreSlash())) {
            // The same page as far as the settings are concerned: no redirect is noted.
            setLinkUrlTrimQuery(readable, owner->shouldTrim());
        } else {
            setRedir(readable);
            if (redirect->statusCode > 0)
                updateStatus(QString("%1 %2")
                                 .arg(redirect->statusCode)
                                 .arg(localizedStringForStatusCode(redirect->statusCode)));
        }
    } else {
        setRedir(readable);
    }
    if (startingPoint)
        owner->resetDomain(*this);
    return next;
}

void LinkCheckerUrl::connectionDidReceiveResponse(myNSURLConnection* c, const UrlResponse& response) {
    if (!sentRequest) {
        qInfo() << "panic!";
        return;
    }
    if (owner->stopPressed())
        return;
    const int identifier = identifierOf(c);
    if (identifier == myNSURLConnection::highlightIdentifier)
        return;
    const HeaderList headers = response.isHTTP ? response.headerFields : HeaderList();
    if (identifier == myNSURLConnection::validatorIdentifier) {
        // The page's own facts (sizes, last modified) belong to its crawl answer, not to this one.
        for (const char* prefix : {"X-W3C-Validator-", "X-W3c-Validator-"}) {
            const QByteArray p(prefix);
            if (!hasHeader(headers, p + "Status"))
                continue;
            setValidatorStatus(QString::fromLatin1(headerValue(headers, p + "Status")));
            setValidatorWarnings(headerValue(headers, p + "Warnings").toInt());
            setValidatorErrors(headerValue(headers, p + "Errors").toInt());
            postIncNumberValidated(c);
            return;
        }
        // No verdict in the headers: the page that came instead says by its title what it is.
        validatorBody.emplace();
        return;
    }
    responseTimeInterval = getTimeSinceSent();
    if (isImage || identifier == myNSURLConnection::fullDownloadIdentifier)
        setFileSizeCompressed(headerValue(headers, "Content-Length").toLongLong());
    contentlengthunavailable = !hasHeader(headers, "Content-Length");
    if (internal && owner->shouldLogModifiedDate() && !headers.isEmpty())
        setTargetLastModified(QString::fromLatin1(headerValue(headers, "Last-Modified")));

    if (response.isHTTP && !beingRechecked && identifier == myNSURLConnection::crawlIdentifier &&
        owner->retryLater(self(), response)) {
        c->cancel();
        return;
    }
    if (response.isHTTP) {
        isHTML = headerValue(headers, "Content-Type").contains("html");
        const QString line =
            QString("%1 %2").arg(response.statusCode).arg(localizedStringForStatusCode(response.statusCode));
        if (beingRechecked)
            setStatus(line);
        else
            updateStatus(line);
    } else {
        setStatus("200 no error (not http)");
        isHTML = response.mimeType.contains("html");
    }

    if (beingRechecked) {
        finishRecheck(c);
        return;
    }
    auto me = self();
    owner->statusHasChangedFordO(me);

    const bool fullDownload = identifier == myNSURLConnection::fullDownloadIdentifier;
    const bool keepForType =
        isHTML || isImage || startingPoint || fullDownload || (owner->shouldParsePDFs() && getIsPDF());
    const bool keepForPlace = internal || fullDownload || owner->shouldPerformSoft404Check();
    if (!keepForType || !keepForPlace) {
        c->cancel();
        owner->incNumberDone(me);
        postThreadHasFinished();
        return;
    }
    // Rendering pages with their scripts joins with the page renderer; until then the plain body is read.
}

void LinkCheckerUrl::appendBody(const QByteArray& bytes) {
    if (!data) {
        data.emplace();
        data->reserve(10);
    }
    data->append(bytes);
}

void LinkCheckerUrl::connectionDidReceiveData(myNSURLConnection* c, const QByteArray& bytes) {
    if (owner->stopPressed())
        return;
    const int identifier = identifierOf(c);
    if (identifier == myNSURLConnection::validatorIdentifier) {
        // Kept apart from the page's own bytes, which the language checks may still hold.
        if (validatorBody)
            validatorBody->append(bytes);
        return;
    }
    if (beingRechecked && identifier != myNSURLConnection::highlightIdentifier) {
        if (c)
            c->cancel();
        return;
    }
    if (identifier == myNSURLConnection::highlightIdentifier) {
        if (!onPageData)
            onPageData.emplace();
        onPageData->append(bytes);
        return;
    }
    if (cacheData)
        return;
    try {
        appendBody(bytes);
    } catch (const std::bad_alloc&) {
        qInfo().noquote() << QString("**** failed to add data for %1").arg(getActualLinkUrl());
        if (c)
            c->cancel();
        clearData();
        owner->stopAndFinish();
    }
}

void LinkCheckerUrl::connectionDidFinishLoading(myNSURLConnection* c) {
    if (!sentRequest || owner->stopPressed())
        return;
    const int identifier = identifierOf(c);
    if (identifier == myNSURLConnection::validatorIdentifier) {
        const QByteArray body = validatorBody.value_or(QByteArray(""));
        auto parser =
            KestParser::initWithDataWithuserAgentStringWithSEOCachePageCheckNoIndexCheckNofollowUseEncoding(
                body, QString(), true, false, false, false, owner->getDetectedEncoding());
        setValidatorStatus(parser ? parser->getTitle() : QString());
        postIncNumberValidated(c);
        return;
    }
    auto me = self();
    if (identifier == myNSURLConnection::fullDownloadIdentifier || isImage) {
        loadTimeInterval = getTimeSinceSent() - getResponseTime();
        setFileSize(getData().size());
        if (contentlengthunavailable)
            setFileSizeCompressed(getData().size());
    }
    if (identifier == myNSURLConnection::highlightIdentifier) {
        postThreadHasFinished();
    } else {
        if (internal && isHTML && owner->shouldArchive())
            owner->archivePage(me);
        if (!startingPoint && firstDigit(status) < 4 && owner->performSoft404CheckOnThisUrl(*this))
            updateStatus("404 'soft 404'");
        owner->incNumberDone(me);
        if (!owner->isRechecking())
            owner->extractLinks(me);
        postThreadHasFinished();
    }
    if (c)
        c->cancel();
    if (internal && !owner->shouldCacheData())
        clearData();
}

void LinkCheckerUrl::connectionDidFailWithError(myNSURLConnection* c, const UrlError& error) {
    if (owner->stopPressed())
        return;
    const int identifier = identifierOf(c);
    if (identifier == myNSURLConnection::highlightIdentifier) {
        c->cancel();
        return;
    }
    if (identifier == myNSURLConnection::validatorIdentifier) {
        setValidatorStatus(error.localizedDescription);
        postIncNumberValidated(c);
        return;
    }
    setStatus(error.localizedDescription);
    // What arrived of a failed body (a page past the size limit) is never read.
    clearData();
    if (beingRechecked) {
        finishRecheck(c);
        return;
    }
    auto me = self();
    owner->statusHasChangedFordO(me);
    owner->incNumberDone(me);
    postThreadHasFinished();
    if (c)
        c->cancel();
}

// Only the site the user named may have a certificate that does not verify, unless the user
// has asked to accept any certificate.
bool LinkCheckerUrl::connectionCanAuthenticateAgainstProtectionSpace(myNSURLConnection*,
                                                                     const QString& method) {
    if (method == NSURLAuthenticationMethodServerTrust && (startingPoint || owner->acceptsAnyCertificate())) {
        qInfo() << "bad certificate - trusting";
        return true;
    }
    qInfo().noquote() << QString("%1 bad certificate - not trusting").arg(getActualLinkUrl());
    return false;
}

void LinkCheckerUrl::connectionDidReceiveAuthenticationChallenge(myNSURLConnection* c,
                                                                 const AuthenticationChallenge& challenge) {
    qInfo().noquote() << QString("received authentication challenge from %1").arg(getActualLinkUrl());
    if (owner->stopPressed())
        return;
    if (challenge.authenticationMethod == NSURLAuthenticationMethodServerTrust) {
        if (internal || owner->acceptsAnyCertificate()) {
            c->useServerTrust();
            return;
        }
        c->continueWithoutCredential();
    }
    if (owner->getAuthentication() && previousFailureCount == 0) {
        ++previousFailureCount;
        const QString user = owner->getAuthenticationUserName(),
                      password = owner->getAuthenticationPassword();
        qInfo().noquote() << QString("attempting to send: %1 and %2").arg(user, password);
        c->useCredential(user, password);
        return;
    }
    qInfo() << "authentication is switched off or already tried once";
    c->cancelAuthenticationChallenge();
    setStatus("requires authentication");
    owner->incNumberDone(self());
    postThreadHasFinished();
}
