#pragma once

#include "platform/UrlRequest.h"

#include <QByteArray>
#include <memory>
#include <optional>

class myNSURLConnection;

// Receives the events of one connection, all on the thread that started it.
class ConnectionDelegate {
  public:
    virtual ~ConnectionDelegate() = default;
    // Before each send; redirectResponse is null for the first. Return nothing to abandon.
    virtual std::optional<UrlRequest> connectionWillSendRequestRedirectResponse(myNSURLConnection*,
                                                                                const UrlRequest& request,
                                                                                const UrlResponse*) {
        return request;
    }
    virtual void connectionDidReceiveResponse(myNSURLConnection*, const UrlResponse&) {}
    virtual void connectionDidReceiveData(myNSURLConnection*, const QByteArray&) {}
    virtual void connectionDidFinishLoading(myNSURLConnection*) {}
    virtual void connectionDidFailWithError(myNSURLConnection*, const UrlError&) {}
    virtual bool connectionCanAuthenticateAgainstProtectionSpace(myNSURLConnection*, const QString&) {
        return false;
    }
    // Answer through the connection: useCredential, useServerTrust, continueWithoutCredential
    // or cancelAuthenticationChallenge. The last answer given counts.
    virtual void connectionDidReceiveAuthenticationChallenge(myNSURLConnection*,
                                                             const AuthenticationChallenge&) {}
};

// An asynchronous transfer driven by libcurl's multi interface on the Qt event loop. Redirects
// are not followed by the client: each hop goes to the delegate, which decides. File URLs are
// read from disk but reach the delegate through the same callbacks.
class myNSURLConnection {
  public:
    enum {
        crawlIdentifier = 16,
        highlightIdentifier = 17,
        validatorIdentifier = 18,
        fullDownloadIdentifier = 20
    };

    // Starts at once; the delegate hears of it from the next pass of the event loop on.
    myNSURLConnection(const UrlRequest& request, ConnectionDelegate* delegate, int identifier);
    ~myNSURLConnection();
    myNSURLConnection(const myNSURLConnection&) = delete;
    myNSURLConnection& operator=(const myNSURLConnection&) = delete;

    // No callback reaches the delegate after this.
    void cancel();
    bool isCancelled() const;
    int getIdentifier() const { return identifier; }
    void setIdentifier(int value) { identifier = value; }
    bool connectionCanAuthenticateAgainstProtectionSpace() const { return true; }

    void useCredential(const QString& user, const QString& password);
    void useServerTrust();
    void continueWithoutCredential();
    void cancelAuthenticationChallenge();

    struct Transfer;

  private:
    int identifier;
    std::unique_ptr<Transfer> transfer;
};
